#pragma once

#include <vector>

namespace Mivora::bench {

/// The middle one of `values`, or the mean of the middle two. NaN when there are none.
double median(std::vector<double> values);

/// How far `values` scatter: half the distance between the quartiles, as a share of the median, so
/// that 0.05 reads as "within 5 per cent, mostly". Zero for fewer than two values.
double relativeSpread(std::vector<double> values);

}  // namespace Mivora::bench
