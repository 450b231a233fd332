#include "Benchmarks/Support/Comparison.h"
#include "Benchmarks/Support/Documents.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <tinyxml.h>

namespace {

/// What a run does with its record: reads it, counts each file and folder of the product's tree up, or down
/// with `remove`, and saves it. The measure: TinyXML reads the same file and saves what it has read.
void compareRun(benchmark::State& state, bool remove) {
    const Documents::Folder folder;
    const VLString path = InstallUtility::statusFilePath(folder.path());
    const std::string record = Documents::Record(state.range(0));
    InstallUtility engine;
    engine.skuDefinition.parse(Documents::Definition(state.range(0)).c_str());

    Comparison comparison;
    comparison.before = [&] { Documents::Write(path, record); };
    comparison.work = [&] {
        engine.loadStatusFile(folder.path(), remove);
        engine.saveStatusFile(folder.path());
        engine.statusFile.clear();
    };
    comparison.measure = [&] {
        TiXmlDocument document;
        document.LoadFile(path.ConstData());
        document.SaveFile(path.ConstData());
    };
    Compare(state, comparison);
}

void RecordOfAnInstall(benchmark::State& state) {
    compareRun(state, false);
}
BENCHMARK(RecordOfAnInstall)->Apply(OverElements);

void RecordOfAnUninstall(benchmark::State& state) {
    compareRun(state, true);
}
BENCHMARK(RecordOfAnUninstall)->Apply(OverElements);

} // namespace
