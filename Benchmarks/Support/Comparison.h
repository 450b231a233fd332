#pragma once

#include <benchmark/benchmark.h>

#include <functional>

/// A piece of work beside the work that sets its measure, in one run: both are done in turn, so that whatever
/// else the machine does meets both.
struct Comparison {
    std::function<void()> work;
    std::function<void()> measure;
    std::function<void()> before = [] {}; ///< done before each of the two; not timed
};

/// Times both in turn and reports the time of `work` as the benchmark's own, with these counters:
///  - measure: seconds that `measure` takes (median)
///  - ratio: `work` divided by `measure`, the median of all turns
///  - MB, measureMB: the most memory that each takes, see PeakMemory
///  - memory: the ratio of the two
/// `elements` is what the complexity is fitted to.
void Compare(benchmark::State& state, const Comparison& comparison);

/// Bytes of memory by which this process grows at most while it does `work`, done once in a child process.
/// Throws std::runtime_error when there can be no child.
double PeakMemory(const std::function<void()>& work);

/// 1,000 to 1,000,000 elements, with a fit of the time to their number.
void OverElements(benchmark::internal::Benchmark* benchmark);
