#include "Benchmarks/Support/Comparison.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

double secondsOf(const std::function<void()>& work) {
    const Clock::time_point start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Most memory that this process has had, in bytes.
double mostMemory() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
#ifdef __APPLE__
    return static_cast<double>(usage.ru_maxrss);
#else
    constexpr double unit = 1024;
    return static_cast<double>(usage.ru_maxrss) * unit;
#endif
}

void giveBackFreeMemory() {
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

void over(long most, benchmark::internal::Benchmark* benchmark) {
    benchmark->RangeMultiplier(10)->Range(1'000, most)->Unit(benchmark::kMillisecond)->UseManualTime();
    benchmark->Complexity(benchmark::oN);
}

} // namespace

double PeakMemory(const std::function<void()>& work) {
    giveBackFreeMemory();
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error("no pipe");
    }
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("no child process");
    }
    if (child == 0) {
        const double before = mostMemory();
        work();
        const double growth = mostMemory() - before;
        _exit(write(ends[1], &growth, sizeof growth) == static_cast<ssize_t>(sizeof growth) ? 0 : 1);
    }
    close(ends[1]);
    double growth = 0;
    const ssize_t count = read(ends[0], &growth, sizeof growth);
    close(ends[0]);
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != 0 || count != static_cast<ssize_t>(sizeof growth)) {
        throw std::runtime_error("the child process failed");
    }
    return growth;
}

void Compare(benchmark::State& state, const Comparison& comparison) {
    constexpr double megabyte = 1e6;
    comparison.before();
    const double memory = PeakMemory(comparison.work);
    comparison.before();
    const double measureMemory = PeakMemory(comparison.measure);

    std::vector<double> measured;
    std::vector<double> ratios;
    const auto secondsOfTurn = [&comparison](const std::function<void()>& work) {
        comparison.before();
        return secondsOf(work);
    };
    secondsOfTurn(comparison.measure); // whoever is first would pay for the memory that both use
    for ([[maybe_unused]] auto turn : state) {
        const double seconds = secondsOfTurn(comparison.work);
        state.SetIterationTime(seconds);
        measured.push_back(secondsOfTurn(comparison.measure));
        ratios.push_back(seconds / measured.back());
    }
    state.counters["measure"] = median(measured);
    state.counters["ratio"] = median(ratios);
    state.counters["MB"] = memory / megabyte;
    state.counters["measureMB"] = measureMemory / megabyte;
    state.counters["memory"] = memory / measureMemory;
    state.SetComplexityN(state.range(0));
}

void OverElements(benchmark::internal::Benchmark* benchmark) {
    over(1'000'000, benchmark);
}

void OverFiles(benchmark::internal::Benchmark* benchmark) {
    over(100'000, benchmark);
}
