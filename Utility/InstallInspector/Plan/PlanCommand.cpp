#include "Utility/InstallInspector/Plan/PlanCommand.h"

#include "Utility/InstallInspector/Plan/Plan.h"
#include "Utility/InstallInspector/Report/Output.h"

int runPlan(const PlanOptions& options) {
    Plan plan;
    try {
        plan = planRun(options.bUninstall, options.source, options.definition, options.targets);
    } catch (const CannotForesee& failure) {
        return cannotRun(std::string("cannot tell what the run would do: ") + failure.what());
    }
    const std::string text = options.bJson       ? asJson(plan)
                             : options.bCommands ? asCommands(plan)
                                                 : asText(plan, Painter::forFile(stdout));
    if (!writeOutput(text)) {
        return CannotRun;
    }
    return plan.bSucceeds && plan.dangers.empty() ? Clean : HasFindings;
}
