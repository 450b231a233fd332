#pragma once

#include <benchmark/benchmark.h>

#include <functional>

/// Two pieces of work to compare. They run in turn, so that other load on the machine affects both.
struct Comparison {
    std::function<void()> work;
    std::function<void()> measure;
    std::function<void()> before = [] {}; ///< runs before each of the two; not timed
};

/// Runs both in turn. The time of the benchmark is that of `work`. Sets these counters:
///  - measure: the time of `measure` in seconds (median)
///  - ratio: the time of `work` divided by that of `measure` (median)
///  - MB, measureMB: the memory of each, see PeakMemory
///  - memory: MB divided by measureMB
void Compare(benchmark::State& state, const Comparison& comparison);

/// The memory in bytes by which a child process grows at most while it runs `work` once. Throws
/// std::runtime_error if the child cannot be started.
double PeakMemory(const std::function<void()>& work);

/// Measures with 1,000 to 1,000,000 elements, and fits the time to their number.
void OverElements(benchmark::internal::Benchmark* benchmark);
/// 1,000 to 100,000, for what needs so many files on a disk.
void OverFiles(benchmark::internal::Benchmark* benchmark);
