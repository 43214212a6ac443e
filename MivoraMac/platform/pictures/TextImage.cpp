#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "MivoraMac/platform/pictures/ByteWalkPrivate.h"
#include "MivoraMac/platform/pictures/TextImagePrivate.h"

namespace Mivora::platform {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kBlanks = " \t\r\n\v\f"sv;

ImagePart failed(std::string why) {
    ImagePart part;
    part.failure = std::move(why);
    return part;
}

/// Program text, read word by word.
class Words {
 public:
    explicit Words(std::string_view text) : rest_(text) {}

    std::string_view rest() const { return rest_; }
    void skip(std::size_t count) { rest_.remove_prefix(std::min(count, rest_.size())); }

    /// Goes behind the next such character that is in no comment. @return whether there is one
    bool skipPast(char character) {
        while (!rest_.empty()) {
            if (rest_.starts_with("/*")) {
                const std::size_t end = rest_.find("*/"sv, 2);
                skip(end == std::string_view::npos ? rest_.size() : end + 2);
                continue;
            }
            const bool isFound = rest_.front() == character;
            skip(1);
            if (isFound) {
                return true;
            }
        }
        return false;
    }

    /// Up to the next character of those, which is skipped; nothing where there is none.
    std::optional<std::string_view> until(char end) {
        const std::size_t at = rest_.find(end);
        if (at == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view found = rest_.substr(0, at);
        skip(at + 1);
        return found;
    }

    /// The next word between blanks; empty at the end.
    std::string_view next() {
        skip(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
        const std::string_view word = rest_.substr(0, rest_.find_first_of(kBlanks));
        skip(word.size());
        return word;
    }

 private:
    std::string_view rest_;
};

/// A whole number from 1 on; 0 for anything else.
std::uint64_t positive(std::string_view word) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error == std::errc() && end == word.data() + word.size() ? number : 0;
}

std::string tooMany(std::uint64_t width, std::uint64_t height) {
    return "the picture of " + std::to_string(width) + " x " + std::to_string(height) +
           " pixels is too large";
}

bool isTooMany(std::uint64_t width, std::uint64_t height, std::uint64_t most) {
    return height > most / width;  // the width is not 0
}

/// A list of strings: the numbers, the colours, each headed by the characters that stand for it,
/// and the rows of such characters.
ImagePart rewrittenXPM(std::string_view text, std::uint64_t mostPixels) {
    Words words(text);
    words.skip("/* XPM */"sv.size());
    if (!words.skipPast('{') || !words.skipPast('"')) {
        return failed("the file is cut short");
    }
    Words head(words.until('"').value_or(""sv));
    const std::uint64_t width = positive(head.next());
    const std::uint64_t height = positive(head.next());
    const std::uint64_t colors = positive(head.next());
    const std::uint64_t characters = positive(head.next());
    constexpr std::uint64_t kMostCharacters = 31;
    if (width == 0 || height == 0 || colors == 0 || characters == 0 ||
        characters > kMostCharacters) {
        return failed("the file is damaged");
    }
    if (isTooMany(width, height, mostPixels)) {
        return failed(tooMany(width, height));
    }
    // Each color and each row is a string with at least so many characters.
    const std::uint64_t left = words.rest().size();
    if (colors > left / (characters + 2) || height > left / (width * characters + 2)) {
        return failed("the file is cut short");
    }
    ImagePart part;
    part.format = ImageFormat::XPM;
    part.size = {static_cast<int>(width), static_cast<int>(height)};
    std::string written = "/* XPM */\nstatic char * picture[] = {\n\"";
    written.reserve(text.size() + 64);
    for (const std::uint64_t number : {width, height, colors, characters}) {
        written += std::to_string(number) + " ";
    }
    written += "\"";
    for (std::uint64_t i = 0; i < colors + height; ++i) {
        const auto string = words.skipPast('"') ? words.until('"') : std::nullopt;
        const std::uint64_t fewest = i < colors ? characters : width * characters;
        if (!string || string->size() < fewest) {
            return failed("the file is cut short");
        }
        written += ",\n\"";
        written += i < colors ? *string : string->substr(0, fewest);
        written += "\"";
    }
    written += "\n};\n";
    part.own.assign(written.begin(), written.end());
    return part;
}

/// Definitions of a width and a height, and a list of numbers whose lowest bit is the leftmost of
/// eight or sixteen pixels.
ImagePart rewrittenXBM(std::string_view text, std::uint64_t mostPixels) {
    Words words(text.substr(0, text.find('{')));
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t bits = 8;
    for (std::string_view word = words.next(); !word.empty(); word = words.next()) {
        if (word == "#define") {
            const std::string_view name = words.next();
            const std::string_view value = words.next();
            if (name == "width" || name.ends_with("_width")) {
                width = positive(value);
            } else if (name == "height" || name.ends_with("_height")) {
                height = positive(value);
            }
        } else if (word == "short") {
            bits = 16;
        }
    }
    if (width == 0 || height == 0) {
        return failed("the file is damaged");
    }
    if (isTooMany(width, height, mostPixels)) {
        return failed(tooMany(width, height));
    }
    const std::uint64_t bytesPerRow = (width + 7) / 8;
    const std::uint64_t numbersPerRow = (width + bits - 1) / bits;
    // A number and what parts it from the next.
    if (height > text.size() / (numbersPerRow * 2)) {
        return failed("the file is cut short");
    }
    ImagePart part;
    part.format = ImageFormat::XBM;
    part.size = {static_cast<int>(width), static_cast<int>(height)};
    std::string written = "#define picture_width " + std::to_string(width) +
                          "\n#define picture_height " + std::to_string(height) +
                          "\nstatic char picture_bits[] = {\n";
    std::string_view numbers = text.substr(std::min(text.find('{'), text.size() - 1) + 1);
    constexpr std::string_view kHex = "0123456789ABCDEF"sv;
    for (std::uint64_t i = 0; i < numbersPerRow * height; ++i) {
        const std::size_t at = numbers.find_first_not_of(" \t\r\n\v\f,"sv);
        numbers.remove_prefix(std::min(at, numbers.size()));
        const bool isHex = numbers.starts_with("0x"sv) || numbers.starts_with("0X"sv);
        numbers.remove_prefix(isHex ? 2 : 0);
        unsigned value = 0;
        const auto [end, error] = std::from_chars(numbers.data(), numbers.data() + numbers.size(),
                                                  value, isHex ? 16 : 10);
        // The last number, too, has something behind it.
        if (error != std::errc() || end == numbers.data() + numbers.size()) {
            return failed("the file is cut short");
        }
        numbers.remove_prefix(static_cast<std::size_t>(end - numbers.data()));
        for (std::uint64_t k = 0; k < bits / 8; ++k) {
            if (i % numbersPerRow * (bits / 8) + k < bytesPerRow) {
                const unsigned byte = value >> (8 * k) & 0xFFU;
                written += "0x"sv;
                written += kHex[byte >> 4];
                written += kHex[byte & 15];
                written += ',';
            }
        }
    }
    written += "0x00};\n"sv;
    part.own.assign(written.begin(), written.end());
    return part;
}

}  // namespace

ImagePart rewrittenTextImage(ImageFormat format, std::span<const std::uint8_t> bytes,
                             std::uint64_t mostPixels) {
    return format == ImageFormat::XPM ? rewrittenXPM(textOf(bytes), mostPixels)
                                      : rewrittenXBM(textOf(bytes), mostPixels);
}

}  // namespace Mivora::platform
