#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

/// What the tests of the value types ask of each of them.

/// Fields side by side in declaration order, nothing else, and no constructor that does work.
template <class T>
constexpr bool isPlainAggregate() {
    return std::is_aggregate_v<T> && std::is_standard_layout_v<T> && std::is_trivial_v<T> &&
           !std::is_polymorphic_v<T>;
}

template <class T>
concept HasZero = requires {
    T::kZero;
};

template <class T>
concept HasNull = requires {
    T::kNull;
};

/// The bits of a type made of floats only.
template <class T>
constexpr auto bitsOf(const T& value) {
    return std::bit_cast<std::array<std::uint32_t, sizeof(T) / sizeof(float)>>(value);
}

template <class T>
constexpr bool everyFloatHasBits(const T& value, std::uint32_t pattern) {
    for (const std::uint32_t bits : bitsOf(value)) {
        if (bits != pattern) {
            return false;
        }
    }
    return true;
}

constexpr std::uint32_t kInfinityBits = 0x7F800000;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

template <class T>
bool haveTheSameBytes(const T& a, const T& b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class T>
bool isAllZeroBytes(const T& value) {
    const std::array<unsigned char, sizeof(T)> zeros{};
    return std::memcmp(&value, zeros.data(), sizeof(T)) == 0;
}
