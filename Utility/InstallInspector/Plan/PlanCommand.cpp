#include "Utility/InstallInspector/Plan/PlanCommand.h"

#include "Utility/InstallInspector/Plan/Plan.h"
#include "Utility/InstallInspector/Report/Output.h"

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
        return cannotRun(fault.what());
    } catch (const CannotForesee& failure) {
        return cannotRun(std::string("cannot tell what the run would do: ") + failure.what());
    }
    Output output;
    if (options.bJson) {
        writeJson(plan, output);
    } else {
        output.write(options.bCommands ? asCommands(plan) : asText(plan, Painter::forFile(stdout)));
    }
    if (!output.finish()) {
        return CannotRun;
    }
    return plan.verdict == Verdict::Safe ? Clean : HasFindings;
}
