#pragma once

// The whole harness of the benchmarks. A benchmark is one program:
//
//     int main() {
//         Mivora::bench::Report report("queue");
//         report.condition("closures", "1,000,000 of 32 bytes, one producer");
//         report.add("producer_ns", nanoseconds, "a closure; median of 9 runs");
//         return report.finish();
//     }
#include "bench/support/AllocationCounter.h"
#include "bench/support/DoNotOptimize.h"
#include "bench/support/Report.h"
#include "bench/support/Statistics.h"
#include "bench/support/Stopwatch.h"
