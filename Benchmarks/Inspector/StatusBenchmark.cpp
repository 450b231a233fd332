#include "Benchmarks/Support/Comparison.h"
#include "Benchmarks/Support/DiscardedOutput.h"
#include "Benchmarks/Support/Documents.h"
#include "Utility/InstallInspector/Status/StatusCommand.h"
#include "Utility/InstallUtility/InstallUtility.h"

namespace {

/// What a run does with a record.
void readCountAndWrite(InstallUtility& engine, const VLString& folder) {
    engine.loadStatusFile(folder, false);
    engine.saveStatusFile(folder);
    engine.statusFile.clear();
}

/// The companion shows a record. The measure: the engine reads it, counts each path up and writes it.
void statusOfARecord(benchmark::State& state, bool bJson) {
    const Documents::Folder folder;
    const VLString path = InstallUtility::statusFilePath(folder.path());
    const std::string record = Documents::Record(state.range(0));
    InstallUtility engine;
    engine.skuDefinition.parse(Documents::Definition(state.range(0)).c_str());

    Comparison comparison;
    comparison.before = [&] { Documents::Write(path, record); };
    comparison.work = [&] {
        StatusOptions options;
        options.folder = folder.path().ConstData();
        options.bJson = bJson;
        const DiscardedOutput discarded;
        runStatus(options);
    };
    comparison.measure = [&] { readCountAndWrite(engine, folder.path()); };
    Compare(state, comparison);
}

void StatusOfARecord(benchmark::State& state) {
    statusOfARecord(state, false);
}
BENCHMARK(StatusOfARecord)->Apply(OverElements);

void StatusOfARecordAsJson(benchmark::State& state) {
    statusOfARecord(state, true);
}
BENCHMARK(StatusOfARecordAsJson)->Apply(OverElements);

} // namespace
