// PNG through libpng, whose errors end in exceptions here.
#include "recording/image.h"

#include <fmt/format.h>
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

#include "recording/error.h"

namespace Recording {

namespace {

constexpr int kSignificantBitsOfGrey10 = 10;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// Throws an exception instead of using longjmp, which would skip destructors. Throwing through
/// libpng's functions is safe: they have unwind tables on all 64-bit targets, and their structures
/// own everything that must be freed.
[[noreturn]] void fail(png_structp png, png_const_charp message) {
    throw Error(static_cast<const char*>(png_get_error_ptr(png)) + std::string(message));
}
void ignore(png_structp /*png*/, png_const_charp /*warning*/) {}

class Encoder {
  public:
    Encoder() : png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, prefix_, fail, ignore)) {
        info_ = png_create_info_struct(png_);
        png_set_write_fn(png_, &file_, append, nullptr);
    }
    ~Encoder() { png_destroy_write_struct(&png_, &info_); }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    std::string encode(const Image& image, Compression compression) {
        file_.reserve(image.pixels.size() / 2);
        setCompression(compression);
        const bool isDeep = pixelSize(image.format) == 2;
        const bool isColour = image.format == PixelFormat::RGBA_8888;
        png_set_IHDR(png_, info_, image.width, image.height, isDeep ? 16 : 8,
                     isColour ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        if (image.format == PixelFormat::GREY_10) {
            png_color_8 bits{};
            bits.gray = kSignificantBitsOfGrey10;
            png_set_sBIT(png_, info_, &bits);
        }
        png_write_info(png_, info_);
        const size_t rowSize = size_t{image.width} * pixelSize(image.format);
        std::vector<uint8_t> row(rowSize);
        for (uint32_t y = 0; y < image.height; ++y) {
            const uint8_t* const pixels = image.pixels.data() + y * rowSize;
            if (isDeep) {
                spread(image.format, pixels, row);
            }
            png_write_row(png_, isDeep ? row.data() : pixels);
        }
        png_write_end(png_, nullptr);
        return std::move(file_);
    }

  private:
    static void append(png_structp png, png_bytep bytes, size_t size) {
        static_cast<std::string*>(png_get_io_ptr(png))
            ->append(reinterpret_cast<const char*>(bytes), size);
    }

    void setCompression(Compression compression) {
        switch (compression) {
            case Compression::NONE:
                png_set_compression_level(png_, Z_NO_COMPRESSION);
                png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
                break;
            case Compression::FAST:
                // Images are noisy, so stronger compression gains little.
                png_set_compression_level(png_, Z_BEST_SPEED);
                png_set_compression_strategy(png_, Z_HUFFMAN_ONLY);
                png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
                break;
            case Compression::SMALL:
                break;
        }
        png_set_compression_buffer_size(png_, 1 << 16);
    }

    /// Converts 16-bit pixels to big-endian. Pixels of 10 bits are scaled to 16 by repeating the
    /// highest bits below the lowest.
    static void spread(PixelFormat format, const uint8_t* pixels, std::vector<uint8_t>& row) {
        for (size_t i = 0; i < row.size(); i += 2) {
            auto value = static_cast<uint32_t>(pixels[i] | pixels[i + 1] << 8);
            if (format == PixelFormat::GREY_10) {
                value = std::min(value, 1023U);
                value = value << 6 | value >> 4;
            }
            row[i] = static_cast<uint8_t>(value >> 8);
            row[i + 1] = static_cast<uint8_t>(value);
        }
    }

    char prefix_[1] = "";
    std::string file_;
    png_structp png_;
    png_infop info_ = nullptr;
};

class Decoder {
  public:
    explicit Decoder(const std::filesystem::path& path)
        : prefix_(path.string() + ": "), file_(std::fopen(path.c_str(), "re")) {
        if (file_ == nullptr) {
            throw Error(prefix_ + std::generic_category().message(errno));
        }
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, prefix_.data(), fail, ignore);
        info_ = png_create_info_struct(png_);
        png_set_read_fn(png_, file_.get(), read);
        png_set_user_limits(png_, kLongestSide, kLongestSide);
    }
    ~Decoder() { png_destroy_read_struct(&png_, &info_, nullptr); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    Image decode() {
        png_read_info(png_, info_);
        Image image{png_get_image_width(png_, info_),
                    png_get_image_height(png_, info_),
                    chooseFormat(),
                    {}};
        png_read_update_info(png_, info_);
        const size_t rowSize = size_t{image.width} * pixelSize(image.format);
        if (png_get_rowbytes(png_, info_) != rowSize) {
            throw Error(prefix_ + "pixels of an unknown kind");
        }
        image.pixels.resize(rowSize * image.height);
        std::vector<png_bytep> rows;
        for (uint32_t y = 0; y < image.height; ++y) {
            rows.push_back(image.pixels.data() + y * rowSize);
        }
        png_read_image(png_, rows.data());
        png_read_end(png_, nullptr);
        if (image.format == PixelFormat::GREY_10) {
            narrow(image.pixels);
        }
        return image;
    }

  private:
    static void read(png_structp png, png_bytep bytes, size_t size) {
        if (std::fread(bytes, 1, size, static_cast<std::FILE*>(png_get_io_ptr(png))) != size) {
            png_error(png, "ends too early");
        }
    }

    PixelFormat chooseFormat() {
        const auto type = png_get_color_type(png_, info_);
        const bool isDeep = png_get_bit_depth(png_, info_) == 16;
        if (type == PNG_COLOR_TYPE_GRAY && isDeep) {
            png_set_swap(png_);
            png_color_8p bits = nullptr;
            png_get_sBIT(png_, info_, &bits);
            return bits != nullptr && bits->gray == kSignificantBitsOfGrey10
                       ? PixelFormat::GREY_10
                       : PixelFormat::DEPTH_16;
        }
        png_set_expand(png_);
        png_set_scale_16(png_);
        if (type == PNG_COLOR_TYPE_GRAY || type == PNG_COLOR_TYPE_GRAY_ALPHA) {
            png_set_strip_alpha(png_);
            return PixelFormat::GREY_8;
        }
        png_set_add_alpha(png_, 0xff, PNG_FILLER_AFTER);
        return PixelFormat::RGBA_8888;
    }

    static void narrow(std::vector<uint8_t>& pixels) {
        for (size_t i = 0; i < pixels.size(); i += 2) {
            const auto value = static_cast<uint32_t>(pixels[i] | pixels[i + 1] << 8) >> 6;
            pixels[i] = static_cast<uint8_t>(value);
            pixels[i + 1] = static_cast<uint8_t>(value >> 8);
        }
    }

    std::string prefix_;
    std::unique_ptr<std::FILE, CloseFile> file_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

}  // namespace

uint32_t pixelSize(PixelFormat format) {
    switch (format) {
        case PixelFormat::GREY_8:
            return 1;
        case PixelFormat::GREY_10:
        case PixelFormat::DEPTH_16:
            return 2;
        case PixelFormat::RGBA_8888:
            return 4;
    }
    return 0;
}

Image copyOf(const ImageView& view, std::vector<uint8_t> memory) {
    memory.clear();
    const size_t rowSize = size_t{view.width} * pixelSize(view.format);
    memory.reserve(rowSize * view.height);
    for (uint32_t y = 0; y < view.height; ++y) {
        const uint8_t* const row = view.pixels + y * view.stride;
        memory.insert(memory.end(), row, row + rowSize);
    }
    return {view.width, view.height, view.format, std::move(memory)};
}

std::string encodePng(const Image& image, Compression compression) {
    const uint64_t size = uint64_t{image.width} * image.height * pixelSize(image.format);
    if (size == 0 || image.width > kLongestSide || image.height > kLongestSide ||
        size != image.pixels.size()) {
        throw Error(fmt::format("an image of {}x{} pixels has {} bytes", image.width, image.height,
                                image.pixels.size()));
    }
    return Encoder().encode(image, compression);
}

Image readPng(const std::filesystem::path& path) {
    return Decoder(path).decode();
}

}  // namespace Recording
