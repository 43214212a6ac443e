#include "bench/support/Statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace Mivora::bench {

namespace {

/// The value below which the share `quantile` of the sorted values lies, interpolated.
double valueAt(const std::vector<double>& sorted, double quantile) {
    const double position = quantile * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(position);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    return std::lerp(sorted[below], sorted[above], position - static_cast<double>(below));
}

}  // namespace

double median(std::vector<double> values) {
    if (values.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    std::sort(values.begin(), values.end());
    return valueAt(values, 0.5);
}

double relativeSpread(std::vector<double> values) {
    if (values.size() < 2) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    const double middle = valueAt(values, 0.5);
    const double distance = valueAt(values, 0.75) - valueAt(values, 0.25);
    return distance == 0 ? 0 : 0.5 * distance / std::abs(middle);
}

}  // namespace Mivora::bench
