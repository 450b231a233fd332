#include "Benchmarks/Support/Comparison.h"
#include "Foundation/VLString.h"

#include <map>
#include <string>

namespace {

constexpr const char* component = "Preset Group 12/";

/// A text of so many pieces grows piece by piece. The measure: std::string.
void StringAppended(benchmark::State& state) {
    const VLString piece(component);
    const std::string measurePiece(component);
    Comparison comparison;
    comparison.work = [&] {
        VLString text;
        for (long i = 0; i < state.range(0); ++i) {
            text.Append(piece);
        }
        benchmark::DoNotOptimize(text.Data());
    };
    comparison.measure = [&] {
        std::string text;
        for (long i = 0; i < state.range(0); ++i) {
            text.append(measurePiece);
        }
        benchmark::DoNotOptimize(text.data());
    };
    Compare(state, comparison);
}
BENCHMARK(StringAppended)->Apply(OverElements);

/// Each piece of a text is found and replaced. The measure: find and append of std::string.
void StringReplaced(benchmark::State& state) {
    VLString text;
    std::string measureText;
    for (long i = 0; i < state.range(0); ++i) {
        text.Append(component);
        measureText.append(component);
    }
    const std::string what("Group");
    Comparison comparison;
    comparison.work = [&] { benchmark::DoNotOptimize(text.Replace("Group", "Family").Size()); };
    comparison.measure = [&] {
        std::string result;
        std::size_t from = 0;
        for (std::size_t found = 0; (found = measureText.find(what, from)) != std::string::npos;
             from = found + what.size()) {
            result.append(measureText, from, found - from).append("Family");
        }
        benchmark::DoNotOptimize(result.append(measureText, from).size());
    };
    Compare(state, comparison);
}
BENCHMARK(StringReplaced)->Apply(OverElements);

/// A map of names, as each folder of a tree has one. The measure: std::string.
void StringsInAMap(benchmark::State& state) {
    Comparison comparison;
    comparison.work = [&] {
        std::map<VLString, long> names;
        VLString name;
        for (long i = 0; i < state.range(0); ++i) {
            names[VLString("Preset ") + name.FromInt(static_cast<int>(i))] = i;
        }
        benchmark::DoNotOptimize(names.size());
    };
    comparison.measure = [&] {
        std::map<std::string, long> names;
        for (long i = 0; i < state.range(0); ++i) {
            names["Preset " + std::to_string(i)] = i;
        }
        benchmark::DoNotOptimize(names.size());
    };
    Compare(state, comparison);
}
BENCHMARK(StringsInAMap)->Apply(OverElements);

} // namespace
