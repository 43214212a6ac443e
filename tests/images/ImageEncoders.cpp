#include "tests/images/ImageEncoders.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include <gif_lib.h>
#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>
#include <webp/encode.h>
#include <webp/mux.h>

namespace Mivora::tests {

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File created(const std::string& path) {
    File file(std::fopen(path.c_str(), "wb"), &std::fclose);
    if (!file) {
        throw std::runtime_error("cannot write " + path);
    }
    return file;
}

void require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

/// The libraries take rows as memory they might write to, which they do not.
std::uint8_t* row(const Samples& samples, platform::PixelSize size, int y) {
    const std::size_t bytes = samples.size() / static_cast<std::size_t>(size.height);
    return const_cast<std::uint8_t*>(samples.data()) + static_cast<std::size_t>(y) * bytes;
}

}  // namespace

void writePNG(const std::string& path, platform::PixelSize size, const PNGOptions& options,
              const Samples& samples) {
    const File file = created(path);
    const auto fail = [](png_structp, png_const_charp text) { throw std::runtime_error(text); };
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file.get());
    png_set_compression_level(png, 1);
    png_set_IHDR(png, info, static_cast<png_uint_32>(size.width),
                 static_cast<png_uint_32>(size.height), options.bitDepth, options.colorType,
                 options.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!options.palette.empty()) {
        std::vector<png_color> colors;
        for (std::size_t i = 0; i + 2 < options.palette.size(); i += 3) {
            colors.push_back({options.palette[i], options.palette[i + 1], options.palette[i + 2]});
        }
        png_set_PLTE(png, info, colors.data(), static_cast<int>(colors.size()));
    }
    if (!options.paletteAlpha.empty()) {
        png_set_tRNS(png, info, options.paletteAlpha.data(),
                     static_cast<int>(options.paletteAlpha.size()), nullptr);
    } else if (!options.transparentColor.empty()) {
        const auto& color = options.transparentColor;
        png_color_16 transparent{};
        transparent.gray = transparent.red = color[0];
        transparent.green = color.size() == 3 ? color[1] : color[0];
        transparent.blue = color.size() == 3 ? color[2] : color[0];
        png_set_tRNS(png, info, nullptr, 0, &transparent);
    }
    std::vector<png_bytep> rows;
    for (int y = 0; y < size.height; ++y) {
        rows.push_back(row(samples, size, y));
    }
    png_write_info(png, info);
    png_write_image(png, rows.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
}

void writeJPEG(const std::string& path, platform::PixelSize size, const JPEGOptions& options,
               const Samples& samples) {
    const File file = created(path);
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    errors.error_exit = [](j_common_ptr) { throw std::runtime_error("the JPEG encoder failed"); };
    jpeg_create_compress(&jpeg);
    jpeg_stdio_dest(&jpeg, file.get());
    jpeg.image_width = static_cast<JDIMENSION>(size.width);
    jpeg.image_height = static_cast<JDIMENSION>(size.height);
    jpeg.input_components = options.components;
    jpeg.in_color_space = options.components == 1   ? JCS_GRAYSCALE
                          : options.components == 3 ? JCS_RGB
                                                    : JCS_CMYK;
    jpeg_set_defaults(&jpeg);
    if (options.isYCCK) {
        jpeg_set_colorspace(&jpeg, JCS_YCCK);
    }
    jpeg_set_quality(&jpeg, options.quality, TRUE);
    if (options.isProgressive) {
        jpeg_simple_progression(&jpeg);
    }
    const int sampling = options.isSubsampled ? 2 : 1;
    jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = sampling;
    jpeg.restart_interval = static_cast<unsigned>(options.restartInterval);
    jpeg_start_compress(&jpeg, TRUE);
    for (int y = 0; y < size.height; ++y) {
        JSAMPROW line = row(samples, size, y);
        jpeg_write_scanlines(&jpeg, &line, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
}

void writeGIF(const std::string& path, platform::PixelSize size, const GIFOptions& options,
              const Samples& samples) {
    const int count = static_cast<int>(options.palette.size() / 3);
    using Palette = std::unique_ptr<ColorMapObject, void (*)(ColorMapObject*)>;
    const Palette palette(GifMakeMapObject(count, nullptr), &GifFreeMapObject);
    const Palette other(GifMakeMapObject(count, nullptr), &GifFreeMapObject);
    require(palette && other, "the GIF encoder refuses the palette");
    for (int i = 0; i < count; ++i) {
        const std::uint8_t* const color = options.palette.data() + std::ptrdiff_t{i} * 3;
        palette->Colors[i] = {color[0], color[1], color[2]};
        other->Colors[i] = {1, 2, 3};
    }
    int error = 0;
    GifFileType* const gif = EGifOpenFileName(path.c_str(), false, &error);
    require(gif != nullptr, "the GIF encoder cannot write the file");
    EGifSetGifVersion(gif, true);
    bool isWritten = EGifPutScreenDesc(gif, size.width, size.height, 8, 0,
                                       (options.hasLocalPalette ? other : palette).get()) == GIF_OK;
    for (int frame = 0; isWritten && frame < options.frames; ++frame) {
        const GraphicsControlBlock control{DISPOSE_DO_NOT, false, 10, options.transparentIndex};
        GifByteType extension[4];
        EGifGCBToExtension(&control, extension);
        isWritten = EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, 4, extension) == GIF_OK &&
                    EGifPutImageDesc(gif, 0, 0, size.width, size.height, options.isInterlaced,
                                     options.hasLocalPalette ? palette.get() : nullptr) == GIF_OK;
        Samples last(static_cast<std::size_t>(size.width), static_cast<std::uint8_t>(count - 1));
        const auto put = [&](int y) {
            GifByteType* const line = frame == 0 ? row(samples, size, y) : last.data();
            isWritten = isWritten && EGifPutLine(gif, line, size.width) == GIF_OK;
        };
        const int starts[] = {0, 4, 2, 1};
        const int steps[] = {8, 8, 4, 2};
        for (int pass = 0; pass < (options.isInterlaced ? 4 : 1); ++pass) {
            for (int y = starts[pass]; y < size.height;
                 y += options.isInterlaced ? steps[pass] : 1) {
                put(y);
            }
        }
    }
    require(EGifCloseFile(gif, &error) == GIF_OK && isWritten, "the GIF encoder failed");
}

void writeTIFF(const std::string& path, platform::PixelSize size, const TIFFOptions& options,
               const Samples& samples) {
    TIFF* const tiff = TIFFOpen(path.c_str(), options.isBigEndian ? "wb" : "wl");
    require(tiff != nullptr, "the TIFF encoder cannot write the file");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, size.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, size.height);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, options.samplesPerPixel);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, options.orientation);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, options.bitsPerSample);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, options.photometric);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, options.compression);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP,
                 options.rowsPerStrip != 0 ? options.rowsPerStrip : size.height);
    if (options.extraSample != 0) {
        const auto extra = static_cast<std::uint16_t>(options.extraSample);
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &extra);
    }
    if (!options.palette.empty()) {
        const std::size_t count = options.palette.size() / 3;
        TIFFSetField(tiff, TIFFTAG_COLORMAP, options.palette.data(), options.palette.data() + count,
                     options.palette.data() + 2 * count);
    }
    bool isWritten = true;
    Samples line;
    for (int y = 0; y < size.height; ++y) {
        // The encoder may swap the bytes of a row in place.
        const std::uint8_t* const from = row(samples, size, y);
        line.assign(from, from + samples.size() / static_cast<std::size_t>(size.height));
        isWritten = TIFFWriteScanline(tiff, line.data(), static_cast<std::uint32_t>(y), 0) == 1 &&
                    isWritten;
    }
    TIFFClose(tiff);
    require(isWritten, "the TIFF encoder failed");
}

void writeWebP(const std::string& path, const platform::Picture& picture, bool hasAlpha,
               WebP kind) {
    const int width = picture.size.width;
    const int height = picture.size.height;
    Samples colors;
    if (!hasAlpha) {
        for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
            colors.insert(colors.end(), &picture.rgba[i], &picture.rgba[i] + 3);
        }
    }
    const std::uint8_t* const pixels = hasAlpha ? picture.rgba.data() : colors.data();
    const int stride = width * (hasAlpha ? 4 : 3);
    constexpr float kQuality = 95;
    std::uint8_t* output = nullptr;
    const std::size_t size = kind == WebP::Lossless
                                 ? (hasAlpha ? WebPEncodeLosslessRGBA : WebPEncodeLosslessRGB)(
                                       pixels, width, height, stride, &output)
                                 : (hasAlpha ? WebPEncodeRGBA : WebPEncodeRGB)(
                                       pixels, width, height, stride, kQuality, &output);
    const std::unique_ptr<std::uint8_t, void (*)(void*)> owner(output, &WebPFree);
    require(size > 0 && std::fwrite(output, 1, size, created(path).get()) == size,
            "the WebP encoder failed");
}

void writeAnimatedWebP(const std::string& path, const platform::Picture& picture) {
    constexpr int kFrames = 2;
    constexpr int kMilliseconds = 100;
    const int width = picture.size.width;
    const int height = picture.size.height;
    const std::unique_ptr<WebPAnimEncoder, void (*)(WebPAnimEncoder*)> encoder(
        WebPAnimEncoderNew(width, height, nullptr), &WebPAnimEncoderDelete);
    WebPConfig config;
    WebPPicture frame;
    require(encoder && WebPConfigInit(&config) != 0 && WebPPictureInit(&frame) != 0,
            "the WebP encoder cannot start");
    config.lossless = 1;
    frame.use_argb = 1;
    frame.width = width;
    frame.height = height;
    bool isWritten = WebPPictureImportRGBA(&frame, picture.rgba.data(), width * 4) != 0;
    for (int i = 0; isWritten && i < kFrames; ++i) {
        isWritten = WebPAnimEncoderAdd(encoder.get(), &frame, i * kMilliseconds, &config) != 0;
        std::fill_n(frame.argb, std::ptrdiff_t{frame.argb_stride} * height, 0xFF000000U);
    }
    WebPPictureFree(&frame);
    WebPData data;
    WebPDataInit(&data);
    isWritten = isWritten &&
                WebPAnimEncoderAdd(encoder.get(), nullptr, kFrames * kMilliseconds, nullptr) != 0 &&
                WebPAnimEncoderAssemble(encoder.get(), &data) != 0 &&
                std::fwrite(data.bytes, 1, data.size, created(path).get()) == data.size;
    WebPDataClear(&data);
    require(isWritten, "the WebP encoder failed");
}

}  // namespace Mivora::tests
