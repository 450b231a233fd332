#include "Utility/InstallInspector/Plan/PlanCommand.h"

#include "Utility/InstallInspector/Plan/PlanSummary.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallInspector/Report/OutputFile.h"

namespace {

bool print(const Plan& plan, const PlanOptions& options) {
    Output output;
    const Painter painter = Painter::forFile(stdout);
    if (options.bJson) {
        writeJson(plan, output);
    } else {
        output.write(options.bCommands ? asCommands(plan)
                     : options.bBrief  ? asBrief(plan, painter)
                                       : asText(plan, painter));
    }
    return output.finish();
}

} // namespace

int runPlan(const PlanOptions& options) {
    Plan plan;
    std::optional<MachineDescription> described;
    try {
        if (!options.machine.empty()) {
            described = MachineDescription::read(options.machine);
        }
        plan = planRun(options.bUninstall, options.source, options.definition, options.targets,
                       described ? &*described : nullptr);
    } catch (const BadDescription& fault) {
        return cannotRun(options.bJson, fault.what());
    } catch (const CannotForesee& failure) {
        return cannotRun(options.bJson, std::string("cannot tell what the run would do: ") + failure.what());
    }
    if (!(options.html.empty() ? print(plan, options)
                               : writePage(options.html, asHtml(plan), options.bForce))) {
        return CannotRun;
    }
    return plan.verdict == Verdict::Safe ? Clean : HasFindings;
}
