#include "MivoraMac/platform/pictures/VectorSizesPrivate.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <string>
#include <string_view>
#include <system_error>

namespace Mivora::platform {

namespace {

using namespace std::string_view_literals;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Calls `take` with each number of a text and with what follows it. Whatever stands between them
/// is left out.
template <class Take>
void eachNumber(std::string_view text, const Take& take) {
    while (true) {
        const std::size_t first = text.find_first_of("0123456789.");
        if (first == std::string_view::npos) {
            return;
        }
        const double sign = first > 0 && text[first - 1] == '-' ? -1 : 1;
        text.remove_prefix(first);
        double number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error == std::errc::result_out_of_range) {
            number = kInfinity;
        }
        const auto length = static_cast<std::size_t>(end - text.data());
        text.remove_prefix(std::max<std::size_t>(length, 1));
        if (length > 0) {
            take(sign * number, text);
        }
    }
}

struct Unit {
    std::string_view name;
    double pixels;
};

constexpr std::array kAbsoluteUnits = {Unit{"in"sv, 96.0}, Unit{"cm"sv, 96.0 / 2.54},
                                       Unit{"mm"sv, 96.0 / 25.4}, Unit{"pt"sv, 96.0 / 72},
                                       Unit{"pc"sv, 16.0}};
constexpr std::array kRelativeUnits = {"em"sv, "ex"sv, "ch"sv, "rem"sv};

template <std::size_t count>
bool isOneOf(std::string_view name, const std::array<std::string_view, count>& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

VectorLength lengthOf(double number, std::string_view unit) {
    if (unit.starts_with("%")) {
        return {.percent = number};
    }
    for (const std::string_view name : kRelativeUnits) {
        if (unit.starts_with(name)) {
            return {.ems = number};
        }
    }
    for (const Unit& known : kAbsoluteUnits) {
        if (unit.starts_with(known.name)) {
            return {.pixels = number * known.pixels};
        }
    }
    return {.pixels = number};
}

/// Of a path. Steps relative to the one before, curves that continue one and arcs may lead as far
/// as all numbers together.
VectorLength extentOfPath(std::string_view path) {
    double sum = 0;
    double largest = 0;
    eachNumber(path, [&](double number, std::string_view) {
        sum += std::abs(number);
        largest = std::max(largest, std::abs(number));
    });
    const bool isPlain =
        path.find_first_not_of("MLHVCQZ0123456789+-.eE, \t\r\n") == std::string_view::npos;
    return {.pixels = 2 * (isPlain ? largest : sum)};
}

/// The larger singular value of the matrix with the columns (a, b) and (c, d).
double largestFactor(double a, double b, double c, double d) {
    const double squares = a * a + b * b + c * c + d * d;
    const double determinant = a * d - b * c;
    const double difference = std::max(squares * squares - 4 * determinant * determinant, 0.0);
    return std::sqrt((squares + std::sqrt(difference)) / 2);
}

double factorOf(std::string_view function, std::string_view arguments) {
    std::array<double, 6> values{};
    std::size_t count = 0;
    eachNumber(arguments, [&](double number, std::string_view) {
        if (count < values.size()) {
            values[count++] = number;
        }
    });
    if (function.ends_with("matrix")) {
        return largestFactor(values[0], values[1], values[2], values[3]);
    }
    const auto endsWithName = [function](std::string_view name) {
        return function.ends_with(name) || function.ends_with(std::string(name) + "X") ||
               function.ends_with(std::string(name) + "Y");
    };
    if (endsWithName("scale")) {
        return count == 0 ? 1 : std::max(std::abs(values[0]), std::abs(values[1]));
    }
    if (endsWithName("skew")) {
        const double x = std::tan(values[0] * std::numbers::pi / 180);
        const double y = std::tan(values[1] * std::numbers::pi / 180);
        return largestFactor(1, y, x, 1);
    }
    return 1;
}

}  // namespace

void VectorLength::widenBy(const VectorLength& other) {
    pixels = std::max(pixels, other.pixels);
    percent = std::max(percent, other.percent);
    ems = std::max(ems, other.ems);
}

double VectorUnits::pixelsOf(const VectorLength& length) const {
    return length.pixels + (length.percent > 0 ? length.percent / 100 * extent : 0) +
           (length.ems > 0 ? length.ems * font : 0);
}

VectorLength largestLength(std::string_view text) {
    VectorLength largest;
    eachNumber(text, [&](double number, std::string_view unit) {
        largest.widenBy(lengthOf(std::abs(number), unit));
    });
    return largest;
}

VectorLength largestExtent(std::string_view attribute, std::string_view value) {
    constexpr std::array kExtents = {"width"sv, "height"sv};
    // Half of it, or what lies on both sides of the origin.
    constexpr std::array kHalves = {"r"sv,  "rx"sv, "ry"sv,     "x1"sv,   "x2"sv,
                                    "y1"sv, "y2"sv, "points"sv, "style"sv};
    if (attribute == "d") {
        return extentOfPath(value);
    }
    VectorLength extent;
    if (isOneOf(attribute, kExtents) || isOneOf(attribute, kHalves)) {
        extent = largestLength(value);
    }
    if (isOneOf(attribute, kHalves)) {
        extent = {2 * extent.pixels, 2 * extent.percent, 2 * extent.ems};
    }
    return extent;
}

double largestScale(std::string_view transformations) {
    double scale = 1;
    std::size_t open = 0;
    while ((open = transformations.find('(')) != std::string_view::npos) {
        const std::string_view before = transformations.substr(0, open);
        const std::string_view function = before.substr(0, before.find_last_not_of(" \t\r\n") + 1);
        const std::size_t close = transformations.find(')', open);
        scale *= factorOf(function, transformations.substr(open, close - open));
        transformations.remove_prefix(std::min(close, transformations.size()));
    }
    return scale;
}

double largestViewBoxScale(std::string_view viewBox, double width, double height) {
    std::array<double, 4> values{};
    std::size_t count = 0;
    eachNumber(viewBox, [&](double number, std::string_view) {
        if (count < values.size()) {
            values[count++] = number;
        }
    });
    return values[2] > 0 && values[3] > 0 ? std::max(width / values[2], height / values[3]) : 1;
}

void VectorSizes::inherit(const VectorSizes& other) {
    scale = std::max(scale, other.scale);
    width.widenBy(other.width);
    height.widenBy(other.height);
    if (!saysUnits) {
        saysUnits = other.saysUnits;
        isRelative = other.isRelative;
    }
    contentIsRelative = contentIsRelative || other.contentIsRelative;
}

void VectorBound::add(const VectorBound& part) {
    magnification = std::max(magnification, part.magnification);
    extent = std::max(extent, part.extent);
    tilePixels = std::max(tilePixels, part.tilePixels);
}

void VectorBound::fillWith(const VectorSizes& pattern, const VectorBound& content,
                           const VectorUnits& units) {
    double tile = 0;
    const auto count = [&](double width, double height) {
        tile = std::max(tile, width * height * pattern.scale * pattern.scale);
    };
    const bool isRelative = pattern.isRelative || !pattern.saysUnits;
    if (isRelative) {
        const VectorUnits shape{1, units.font};
        count(shape.pixelsOf(pattern.width) * extent, shape.pixelsOf(pattern.height) * extent);
    } else {
        count(units.pixelsOf(pattern.width) * magnification,
              units.pixelsOf(pattern.height) * magnification);
    }
    const double around = pattern.contentIsRelative ? extent : magnification;
    tilePixels = std::max(tilePixels, tile + content.tilePixels * around * around);
}

void VectorBound::magnify(double scale) {
    magnification *= scale;
    extent *= scale;
    tilePixels *= scale * scale;
}

}  // namespace Mivora::platform
