#include "Benchmarks/Support/Comparison.h"
#include "Benchmarks/Support/Documents.h"
#include "Utility/InstallUtility/SKUDefinition.h"

#include <tinyxml.h>

namespace {

/// The measure: TinyXML reads the same file.
void DefinitionRead(benchmark::State& state) {
    const Documents::Folder folder;
    const VLString file = folder / "file.xml";
    Documents::Write(file, Documents::Definition(state.range(0)));
    Comparison comparison;
    comparison.work = [&] {
        SKUDefinition definition;
        definition.fromFile(file);
    };
    comparison.measure = [&] {
        TiXmlDocument document;
        document.LoadFile(file.ConstData());
    };
    Compare(state, comparison);
}
BENCHMARK(DefinitionRead)->Apply(OverElements);

} // namespace
