#include <algorithm>
#include <string_view>

#include "MivoraMac/platform/pictures/ByteWalkPrivate.h"
#include "MivoraMac/platform/pictures/ImageFormatPrivate.h"

namespace Mivora::platform {

namespace {

using namespace std::string_view_literals;

bool hasAt(std::string_view text, std::size_t at, std::string_view mark) {
    return text.size() >= at + mark.size() && text.substr(at, mark.size()) == mark;
}

/// Two zeros, the type 1 or 2, and between 1 and 255 pictures.
bool isICO(std::string_view text) {
    return text.size() >= 6 && (text.starts_with("\0\0\1\0"sv) || text.starts_with("\0\0\2\0"sv)) &&
           text[4] != 0 && text[5] == 0;
}

/// There is no mark, only the bytes for the colour map and the type.
bool isTGA(std::string_view text) {
    return text.size() >= 18 &&
           (hasAt(text, 1, "\1\1"sv) || hasAt(text, 1, "\1\x09"sv) || hasAt(text, 1, "\0\2"sv) ||
            hasAt(text, 1, "\0\3"sv) || hasAt(text, 1, "\0\x0A"sv) || hasAt(text, 1, "\0\x0B"sv));
}

/// Text whose beginning holds the element or the declaration of that name.
bool isSVG(std::string_view text) {
    constexpr std::size_t kBeginning = 4096;
    text = text.substr(0, kBeginning);
    const std::size_t first = text.find_first_not_of(" \t\r\n"sv);
    if (first == std::string_view::npos ||
        !(text[first] == '<' || text.substr(first).starts_with("\xEF\xBB\xBF"sv))) {
        return false;
    }
    return text.find("<svg"sv) != std::string_view::npos ||
           text.find("<!DOCTYPE svg"sv) != std::string_view::npos;
}

}  // namespace

ImageFormat imageFormatOf(std::span<const std::uint8_t> bytes) {
    const std::string_view text = textOf(bytes);
    const struct {
        std::size_t at;
        std::string_view mark;
        ImageFormat format;
    } marks[] = {
        {0, "\x89PNG\r\n\x1A\n"sv, ImageFormat::PNG},
        {0, "\xFF\xD8"sv, ImageFormat::JPEG},
        {0, "GIF8"sv, ImageFormat::GIF},
        {0, "BM"sv, ImageFormat::BMP},
        {0, "II*\0"sv, ImageFormat::TIFF},
        {0, "MM\0*"sv, ImageFormat::TIFF},
        {0, "icns"sv, ImageFormat::ICNS},
        {4, "idsc"sv, ImageFormat::QTIF},
        {4, "idat"sv, ImageFormat::QTIF},
        {0, "/* XPM */"sv, ImageFormat::XPM},
        {0, "#define "sv, ImageFormat::XBM},
    };
    for (const auto& mark : marks) {
        if (hasAt(text, mark.at, mark.mark)) {
            return mark.format;
        }
    }
    if (text.starts_with("RIFF"sv)) {
        return hasAt(text, 8, "WEBP"sv)   ? ImageFormat::WebP
               : hasAt(text, 8, "ACON"sv) ? ImageFormat::ANI
                                          : ImageFormat::Other;
    }
    if (text.size() >= 3 && text[0] == 'P' && text[1] >= '1' && text[1] <= '6') {
        return ImageFormat::PNM;
    }
    if (isICO(text)) {
        return ImageFormat::ICO;
    }
    if (isTGA(text)) {
        return ImageFormat::TGA;
    }
    return isSVG(text) ? ImageFormat::SVG : ImageFormat::Other;
}

const char* decoderNameOf(ImageFormat format) {
    switch (format) {
        case ImageFormat::PNG:
            return "png";
        case ImageFormat::JPEG:
            return "jpeg";
        case ImageFormat::GIF:
            return "gif";
        case ImageFormat::BMP:
            return "bmp";
        case ImageFormat::TIFF:
            return "tiff";
        case ImageFormat::WebP:
            return "webp";
        case ImageFormat::ICO:
            return "ico";
        case ImageFormat::ICNS:
            return "icns";
        case ImageFormat::PNM:
            return "pnm";
        case ImageFormat::TGA:
            return "tga";
        case ImageFormat::XPM:
            return "xpm";
        case ImageFormat::XBM:
            return "xbm";
        case ImageFormat::SVG:
            return "svg";
        default:
            return nullptr;
    }
}

}  // namespace Mivora::platform
