#pragma once

#include <ctime>

/// The processor time that the action takes, in seconds.
template <class Action>
double processorSeconds(Action action) {
    const std::clock_t start = std::clock();
    action();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}
