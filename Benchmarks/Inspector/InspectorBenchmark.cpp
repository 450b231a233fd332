#include "Benchmarks/Support/Comparison.h"
#include "Benchmarks/Support/DiscardedOutput.h"
#include "Benchmarks/Support/Documents.h"
#include "Utility/InstallInspector/Check/CheckCommand.h"
#include "Utility/InstallInspector/Plan/PlanCommand.h"
#include "Utility/InstallInspector/Status/StatusCommand.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <tinyxml.h>

// The subcommands of the companion, beside what the engine or TinyXML needs for the same files.
// Benchmarks/inspector judges them.
namespace {

/// A product whose target folder is `installed`, and its files in `source`.
class ProductOnDisk {
public:
    explicit ProductOnDisk(long files) : record(Documents::Record(files)) {
        Documents::Write(definition, Documents::Definition(files));
        Documents::Write(targets, std::string("<root><item name=\"VorlaneFX\"><path value=\"") +
                                      installed.ConstData() + "\"/></item></root>");
        Documents::MakeFolder(installed);
        writeRecord();
    }

    void writeRecord() const { Documents::Write(InstallUtility::statusFilePath(installed), record); }

    Documents::Folder folder;
    VLString definition = folder / "sku.xml";
    VLString targets = folder / "target_path.xml";
    VLString source = folder / "files";
    VLString installed = folder / "installed";
    std::string record;
};

/// What a run does with a record.
void readCountAndWrite(InstallUtility& engine, const VLString& folder) {
    engine.loadStatusFile(folder, false);
    engine.saveStatusFile(folder);
    engine.statusFile.clear();
}

void showStatus(const StatusOptions& options) {
    const DiscardedOutput discarded;
    runStatus(options);
}

/// The measure: the engine reads the same record, counts each path up and writes it.
void compareStatus(benchmark::State& state, bool bJson) {
    const ProductOnDisk product(state.range(0));
    InstallUtility engine;
    engine.skuDefinition.fromFile(product.definition);
    StatusOptions options;
    options.folder = product.installed.ConstData();
    options.bJson = bJson;

    Comparison comparison;
    comparison.before = [&] { product.writeRecord(); };
    comparison.work = [&] { showStatus(options); };
    comparison.measure = [&] { readCountAndWrite(engine, product.installed); };
    Compare(state, comparison);
}

void StatusOfARecord(benchmark::State& state) {
    compareStatus(state, false);
}
BENCHMARK(StatusOfARecord)->Apply(OverElements);

void StatusOfARecordAsJson(benchmark::State& state) {
    compareStatus(state, true);
}
BENCHMARK(StatusOfARecordAsJson)->Apply(OverElements);

/// None of the recorded files is there. The measure: the engine reads the definition as well.
void StatusWithADefinition(benchmark::State& state) {
    const ProductOnDisk product(state.range(0));
    StatusOptions options;
    options.definitions = {product.definition.ConstData()};
    options.targets = {product.targets.ConstData()};

    Comparison comparison;
    comparison.before = [&] { product.writeRecord(); };
    comparison.work = [&] { showStatus(options); };
    comparison.measure = [&] {
        InstallUtility engine;
        engine.skuDefinition.fromFile(product.definition);
        readCountAndWrite(engine, product.installed);
    };
    Compare(state, comparison);
}
BENCHMARK(StatusWithADefinition)->Apply(OverElements);

/// The measure: TinyXML reads the same definition.
void CheckOfADefinition(benchmark::State& state) {
    const ProductOnDisk product(state.range(0));
    CheckOptions options;
    options.files = {product.definition.ConstData(), product.targets.ConstData()};

    Comparison comparison;
    comparison.work = [&] {
        const DiscardedOutput discarded;
        runCheck(options);
    };
    comparison.measure = [&] {
        TiXmlDocument document;
        document.LoadFile(product.definition.ConstData());
    };
    Compare(state, comparison);
}
BENCHMARK(CheckOfADefinition)->Apply(OverElements);

/// A plan as JSON. The measure: the same plan as bare commands, which add next to nothing to it.
void comparePlan(benchmark::State& state, bool bUninstall) {
    const ProductOnDisk product(state.range(0));
    PlanOptions options;
    options.bUninstall = bUninstall;
    options.definition = product.definition.ConstData();
    options.targets = product.targets.ConstData();
    if (!bUninstall) {
        options.source = product.source.ConstData();
        Documents::MakeFiles(product.source, state.range(0));
    }
    const auto plan = [&options](bool bJson) {
        options.bJson = bJson;
        options.bCommands = !bJson;
        const DiscardedOutput discarded;
        runPlan(options);
    };

    Comparison comparison;
    comparison.work = [&] { plan(true); };
    comparison.measure = [&] { plan(false); };
    Compare(state, comparison);
}

void PlanOfAnInstall(benchmark::State& state) {
    comparePlan(state, false);
}
BENCHMARK(PlanOfAnInstall)->Apply(OverFiles);

void PlanOfAnUninstall(benchmark::State& state) {
    comparePlan(state, true);
}
BENCHMARK(PlanOfAnUninstall)->Apply(OverFiles);

} // namespace
