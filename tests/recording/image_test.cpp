// Camera images as PNG files and back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "recording/image.h"
#include "temporary_directory.h"

using namespace Recording;

namespace {

Image imageOf(PixelFormat format) {
    Image image{5, 3, format, {}};
    for (uint32_t i = 0; i < 5 * 3 * pixelSize(format); ++i) {
        // The upper byte of a pixel of 10 bits has two of them.
        const bool isUpper = format == PixelFormat::GREY_10 && i % 2 == 1;
        image.pixels.push_back(static_cast<uint8_t>(isUpper ? i % 4 : i * 37));
    }
    return image;
}

}  // namespace

TEST(ImageTest, PixelsOfEveryDepthComeBack) {
    const TemporaryDirectory directory;
    for (const PixelFormat format : {PixelFormat::GREY_8, PixelFormat::GREY_10,
                                     PixelFormat::DEPTH_16, PixelFormat::RGBA_8888}) {
        for (const Compression compression :
             {Compression::NONE, Compression::FAST, Compression::SMALL}) {
            const Image image = imageOf(format);
            const Image read = readPng(directory.write("a.png", encodePng(image, compression)));
            EXPECT_EQ(read.width, image.width);
            EXPECT_EQ(read.height, image.height);
            EXPECT_EQ(read.format, format);
            EXPECT_EQ(read.pixels, image.pixels) << static_cast<int>(format);
        }
    }
}

TEST(ImageTest, BrokenFilesAreErrorsWithTheirNames) {
    const TemporaryDirectory directory;
    const std::string png = encodePng(imageOf(PixelFormat::GREY_8), Compression::FAST);
    std::string corrupt = png;
    corrupt[corrupt.size() / 2] ^= 1;
    std::string huge = png;
    huge[16] = 0x7f;
    for (const std::string& text : {std::string(), std::string("no picture at all"),
                                    png.substr(0, png.size() / 2), corrupt, huge}) {
        const auto file = directory.write("a.png", text);
        EXPECT_THAT(errorOf([&] { readPng(file); }), testing::StartsWith(file.string() + ": "));
    }
    Image tooFewPixels = imageOf(PixelFormat::GREY_8);
    tooFewPixels.pixels.pop_back();
    EXPECT_THAT(errorOf([&] { encodePng(tooFewPixels, Compression::FAST); }),
                testing::HasSubstr("5x3"));
}
