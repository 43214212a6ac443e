#include "MivoraMac/platform/ImageFileCheckPrivate.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace Mivora::platform {

namespace {

/// Walks through bytes; beyond the end everything reads as 0 and `isPast` holds.
class Walk {
 public:
    explicit Walk(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    bool isPast() const { return isPast_; }

    void skip(std::size_t count) {
        isPast_ = isPast_ || count > bytes_.size() - at_;
        at_ = isPast_ ? bytes_.size() : at_ + count;
    }
    std::uint32_t byte() {
        const std::size_t at = at_;
        skip(1);
        return isPast_ ? 0 : bytes_[at];
    }
    std::uint32_t bigEndian(int count) {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i) {
            value = value << 8 | byte();
        }
        return value;
    }
    /// Goes to the next byte of that value, or past the end.
    void find(std::uint8_t value) {
        const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(at_);
        const auto found = std::find(from, bytes_.end(), value);
        isPast_ = isPast_ || found == bytes_.end();
        at_ = static_cast<std::size_t>(found - bytes_.begin());
    }

 private:
    std::span<const std::uint8_t> bytes_;
    std::size_t at_ = 0;
    bool isPast_ = false;
};

bool startsWith(std::span<const std::uint8_t> bytes, std::string_view signature) {
    return bytes.size() >= signature.size() &&
           std::equal(signature.begin(), signature.end(), bytes.begin(),
                      [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

/// Chunk after chunk, of length, type, contents and checksum, up to the one called IEND.
bool isCompletePNG(Walk walk) {
    constexpr std::uint32_t kIEND = 0x49454E44;
    constexpr std::size_t kSignature = 8;
    constexpr std::size_t kChecksum = 4;
    walk.skip(kSignature);
    std::uint32_t type = 0;
    while (!walk.isPast() && type != kIEND) {
        const std::uint32_t length = walk.bigEndian(4);
        type = walk.bigEndian(4);
        walk.skip(length);
        walk.skip(kChecksum);
    }
    return !walk.isPast();
}

/// Markers up to the end of the image; scan data in between hides none, as its 255s are followed
/// by a 0 or a restart marker.
bool isCompleteJPEG(Walk walk) {
    while (!walk.isPast()) {
        walk.find(0xFF);
        std::uint32_t marker = 0xFF;
        while (marker == 0xFF && !walk.isPast()) {
            marker = walk.byte();
        }
        if (marker == 0xD9) {
            return !walk.isPast();
        }
        const bool standsAlone = marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD8);
        if (!standsAlone) {
            const std::uint32_t length = walk.bigEndian(2);
            walk.skip(length >= 2 ? length - 2 : 0);
        }
    }
    return false;
}

/// Goes through blocks, each headed by its length, up to the empty one.
void skipBlocks(Walk& walk) {
    while (const std::uint32_t length = walk.byte()) {
        walk.skip(length);
    }
}

/// Extensions up to the first picture, and its blocks.
bool isCompleteGIF(Walk walk) {
    const auto skipColors = [&walk](std::uint32_t flags) {
        constexpr std::uint32_t kHasColors = 0x80;
        if ((flags & kHasColors) != 0) {
            walk.skip(std::size_t{3} << ((flags & 7) + 1));
        }
    };
    walk.skip(10);  // signature and size
    const std::uint32_t screenFlags = walk.byte();
    walk.skip(2);
    skipColors(screenFlags);
    while (!walk.isPast()) {
        switch (walk.byte()) {
            case '!':
                walk.skip(1);
                skipBlocks(walk);
                break;
            case ',': {
                walk.skip(8);  // place and size
                skipColors(walk.byte());
                walk.skip(1);  // the size of codes
                skipBlocks(walk);
                return !walk.isPast();
            }
            default:
                return false;
        }
    }
    return false;
}

}  // namespace

std::optional<bool> imageFileIsComplete(std::span<const std::uint8_t> bytes) {
    if (startsWith(bytes, "\x89PNG\r\n\x1A\n")) {
        return isCompletePNG(Walk(bytes));
    }
    if (startsWith(bytes, "\xFF\xD8\xFF")) {
        return isCompleteJPEG(Walk(bytes));
    }
    if (startsWith(bytes, "GIF8")) {
        return isCompleteGIF(Walk(bytes));
    }
    return std::nullopt;
}

}  // namespace Mivora::platform
