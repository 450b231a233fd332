#pragma once

#include <benchmark/benchmark.h>

#include <functional>

/// Two pieces of work to compare. They run in turn, so that other load on the machine affects both, and each
/// turn in a process of its own.
struct Comparison {
    std::function<void()> work;
    std::function<void()> measure;
    std::function<void()> before = [] {}; ///< runs before each of the two; not timed
};

/// Runs both in turn. The time of the benchmark is that of `work`. Sets these counters:
///  - measure: the processor time of `measure` in seconds (median)
///  - ratio: the time of `work` divided by that of `measure` (median)
///  - MB, measureMB: the memory of each, see Usage
///  - memory: MB divided by measureMB
void Compare(benchmark::State& state, const Comparison& comparison);

/// What a piece of work needs.
struct Usage {
    double seconds = 0; ///< of processor time, in the program and in the kernel
    double memory = 0;  ///< in bytes, at most
};

/// What a child process needs to run `work` once, as a run of a program does. Throws std::runtime_error if
/// the child cannot be started or ends early.
Usage UsageInAProcessOfItsOwn(const std::function<void()>& work);

/// Measures with 1,000 to 1,000,000 elements, and fits the time to their number.
void OverElements(benchmark::internal::Benchmark* benchmark);
/// 1,000 to 100,000, for what needs so many files on a disk.
void OverFiles(benchmark::internal::Benchmark* benchmark);
