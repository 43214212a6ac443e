#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace Mivora::platform {

/// Walks through bytes; beyond the end everything reads as 0 and `isPast` holds.
class ByteWalk {
 public:
    explicit ByteWalk(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    bool isPast() const { return isPast_; }
    /// How many bytes have been walked through; 0 beyond the end.
    std::size_t reached() const { return isPast_ ? 0 : at_; }
    /// What has not been walked through; nothing beyond the end.
    std::span<const std::uint8_t> rest() const { return bytes_.subspan(at_); }

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
    std::uint32_t littleEndian(int count) {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i) {
            value |= byte() << (8 * i);
        }
        return value;
    }
    /// The next so many bytes; nothing, and past the end, where there are fewer.
    std::span<const std::uint8_t> take(std::size_t count) {
        const std::size_t at = at_;
        skip(count);
        return isPast_ ? std::span<const std::uint8_t>() : bytes_.subspan(at, count);
    }
    /// Goes to the next byte of that value, or past the end.
    void find(std::uint8_t value) {
        const std::size_t left = bytes_.size() - at_;
        // The whole of a picture may be searched: memchr is ten times as fast as a loop.
        const void* const found =
            left > 0 ? std::memchr(bytes_.data() + at_, value, left) : nullptr;
        isPast_ = isPast_ || found == nullptr;
        at_ =
            isPast_
                ? bytes_.size()
                : static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - bytes_.data());
    }

 private:
    std::span<const std::uint8_t> bytes_;
    std::size_t at_ = 0;
    bool isPast_ = false;
};

/// Bytes as characters.
inline std::string_view textOf(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline bool startsWith(std::span<const std::uint8_t> bytes, std::string_view signature) {
    return textOf(bytes).starts_with(signature);
}

}  // namespace Mivora::platform
