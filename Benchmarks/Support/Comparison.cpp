#include "Benchmarks/Support/Comparison.h"

#include <algorithm>
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

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// What a process has used so far.
Usage usageUntilNow() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
#ifdef __APPLE__
    constexpr double unit = 1;
#else
    constexpr double unit = 1024;
#endif
    const auto seconds = [](const timeval& time) {
        constexpr double microseconds = 1e6;
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / microseconds;
    };
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), static_cast<double>(usage.ru_maxrss) * unit};
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

Usage UsageInAProcessOfItsOwn(const std::function<void()>& work) {
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
        const Usage before = usageUntilNow();
        work();
        const Usage after = usageUntilNow();
        const Usage growth = {after.seconds - before.seconds, after.memory - before.memory};
        _exit(write(ends[1], &growth, sizeof growth) == static_cast<ssize_t>(sizeof growth) ? 0 : 1);
    }
    close(ends[1]);
    Usage growth;
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
    const auto turnOf = [&comparison](const std::function<void()>& work) {
        comparison.before();
        return UsageInAProcessOfItsOwn(work);
    };
    Usage work;
    Usage measure;
    std::vector<double> measured;
    std::vector<double> ratios;
    for ([[maybe_unused]] auto turn : state) {
        work = turnOf(comparison.work);
        measure = turnOf(comparison.measure);
        state.SetIterationTime(work.seconds);
        measured.push_back(measure.seconds);
        ratios.push_back(work.seconds / measure.seconds);
    }
    state.counters["measure"] = median(measured);
    state.counters["ratio"] = median(ratios);
    state.counters["MB"] = work.memory / megabyte;
    state.counters["measureMB"] = measure.memory / megabyte;
    state.counters["memory"] = work.memory / measure.memory;
    state.SetComplexityN(state.range(0));
}

void OverElements(benchmark::internal::Benchmark* benchmark) {
    over(1'000'000, benchmark);
}

void OverFiles(benchmark::internal::Benchmark* benchmark) {
    over(100'000, benchmark);
}
