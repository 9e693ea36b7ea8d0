// What sensorctl makes of images.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "camera/picture.h"
#include "failure.h"

namespace {

using ::testing::ElementsAre;
using namespace Vek::Sensors;

CameraFrame frameOf(PixelFormat format, uint32_t width, uint32_t height, uint32_t stride) {
    CameraFrame frame{};
    frame.frameType = FrameType::HEADSET;
    frame.pixelFormat = format;
    frame.width = width;
    frame.height = height;
    frame.stride = stride;
    return frame;
}

TEST(PictureTest, EveryFormatReachesItsFileWithAllBits) {
    std::vector<std::byte> buffer;
    for (const int byte : {0xff, 0x03, 0x00, 0x02, 0xaa, 0xaa, 0xaa, 0xaa, 0x10, 0, 0xf0, 0x0f}) {
        buffer.push_back(static_cast<std::byte>(byte));
    }
    const std::string path = ::testing::TempDir() + "/sensorctl-picture.png";
    const auto writtenAs = [&](PixelFormat format, uint32_t width) {
        const auto image = imageIn(frameOf(format, width, 2, 8), {buffer.data(), buffer.size()});
        writePng(path, Recording::copyOf(image));
        return Recording::readPng(path).pixels;
    };
    EXPECT_THAT(writtenAs(PixelFormat::GREY_8, 2), ElementsAre(0xff, 0x03, 0x10, 0x00));
    // More than ten bits are white.
    EXPECT_THAT(writtenAs(PixelFormat::GREY_10, 2),
                ElementsAre(0xff, 0x03, 0x00, 0x02, 0x10, 0x00, 0xff, 0x03));
    EXPECT_THAT(writtenAs(PixelFormat::DEPTH_16, 2),
                ElementsAre(0xff, 0x03, 0x00, 0x02, 0x10, 0x00, 0xf0, 0x0f));
    EXPECT_THAT(writtenAs(PixelFormat::RGBA_8888, 1),
                ElementsAre(0xff, 0x03, 0x00, 0x02, 0x10, 0x00, 0xf0, 0x0f));
}

TEST(PictureTest, ImageThatItsBufferCannotHoldIsRefused) {
    const std::vector<std::byte> buffer(100);
    const auto isRefused = [&](const CameraFrame& frame) {
        try {
            imageIn(frame, {buffer.data(), buffer.size()});
            return false;
        } catch (const Failure&) {
            return true;
        }
    };
    EXPECT_FALSE(isRefused(frameOf(PixelFormat::GREY_8, 10, 10, 10)));
    EXPECT_FALSE(isRefused(frameOf(PixelFormat::GREY_8, 4, 9, 12)));  // no gap after the last row
    const CameraFrame refused[] = {
        frameOf(PixelFormat::GREY_8, 10, 11, 10),
        frameOf(PixelFormat::GREY_10, 10, 10, 10),
        frameOf(PixelFormat::GREY_8, 10, 10, 9),
        frameOf(PixelFormat::RGBA_8888, UINT32_MAX, 1, UINT32_MAX),
        frameOf(PixelFormat::GREY_8, 1, UINT32_MAX, UINT32_MAX),
        frameOf(PixelFormat::GREY_8, 0, 10, 10),
        frameOf(PixelFormat::GREY_8, 10, 0, 10),
        frameOf(static_cast<PixelFormat>(4), 10, 10, 10),
    };
    for (const CameraFrame& frame : refused) {
        EXPECT_TRUE(isRefused(frame)) << frame.width << "x" << frame.height;
    }
    CameraFrame missing = frameOf(PixelFormat::GREY_8, 10, 10, 10);
    missing.frameType = FrameType::NOT_RECEIVED;
    EXPECT_TRUE(isRefused(missing));
}

}  // namespace
