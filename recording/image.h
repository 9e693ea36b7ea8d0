// Camera images as PNG files, lossless in each of the cameras' depths.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Recording {

/// How a pixel lies in memory. The values are those of the cameras' pixel formats.
enum class PixelFormat : uint32_t {
    /// One byte a pixel.
    GREY_8 = 0,
    /// Ten bits in two bytes, little-endian, in the low bits.
    GREY_10 = 1,
    /// Four bytes a pixel: red, green, blue, alpha.
    RGBA_8888 = 2,
    /// Two bytes a pixel, little-endian: distance in mm.
    DEPTH_16 = 3,
};

/// Bytes of a pixel; 0 for a format that is not known.
uint32_t pixelSize(PixelFormat format);

struct Image {
    uint32_t width;
    uint32_t height;
    PixelFormat format;
    /// Row after row, without gaps.
    std::vector<uint8_t> pixels;
};

/// An image in memory that is not owned.
struct ImageView {
    uint32_t width;
    uint32_t height;
    PixelFormat format;
    /// All rows must be readable.
    const uint8_t* pixels;
    /// From one row to the next, in bytes.
    size_t stride;
};

/// @param memory reused for the pixels; its content is overwritten.
Image copyOf(const ImageView& view, std::vector<uint8_t> memory = {});

/// Effort of the encoder: more time for less space.
enum class Compression {
    /// A PNG file with uncompressed pixels: as fast as memory.
    NONE,
    FAST,
    SMALL,
};

/// Encodes the image as a PNG file. Pixels of 10 bits are scaled to 16, so that viewers show white
/// as white, and marked as 10 significant bits, so that they read back unchanged; higher bits are
/// lost. Throws Error if the image is empty or has the wrong number of pixels.
std::string encodePng(const Image& image, Compression compression);

/// Reads a PNG file of any kind: colours and palettes become RGBA, grey of 8 bits or less GREY_8,
/// grey of 16 bits DEPTH_16, or GREY_10 if it is marked as 10 significant bits. Throws Error, which
/// names the file, if it is no whole PNG file or has more than kLongestSide pixels a side.
Image readPng(const std::filesystem::path& path);

inline constexpr uint32_t kLongestSide = 16'384;

}  // namespace Recording
