#include "Benchmarks/Support/Comparison.h"
#include "Benchmarks/Support/Documents.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <tinyxml.h>

namespace {

/// The measure: TinyXML reads the same file.
void TargetPathsRead(benchmark::State& state) {
    const Documents::Folder folder;
    const VLString file = folder / "file.xml";
    Documents::Write(file, Documents::TargetPaths(state.range(0)));
    Comparison comparison;
    comparison.work = [&] {
        InstallUtility engine;
        engine.parseTargetsPathXMLFile(file);
    };
    comparison.measure = [&] {
        TiXmlDocument document;
        document.LoadFile(file.ConstData());
    };
    Compare(state, comparison);
}
BENCHMARK(TargetPathsRead)->Apply(OverElements);

} // namespace
