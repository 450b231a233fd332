#include "Utility/InstallInspector/Plan/PlanCommand.h"

#include "Utility/InstallInspector/Plan/Plan.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <memory>
#include <string>
#include <utility>

namespace {

struct Arguments {
    std::string source;
    std::string definition;
    std::string targets;
    bool bUninstall = false;
    bool bJson = false;
    bool bCommands = false;
};

/// The first of two files was taken for the folder.
void leaveOutSource(Arguments& arguments) {
    if (!arguments.targets.empty()) {
        throw CLI::ExtrasError({arguments.targets});
    }
    arguments.targets = std::exchange(arguments.definition, std::exchange(arguments.source, ""));
}

int run(const Arguments& arguments) {
    Plan plan;
    try {
        plan = planRun(arguments.bUninstall, arguments.source, arguments.definition, arguments.targets);
    } catch (const CannotForesee& failure) {
        return cannotRun(std::string("cannot tell what the run would do: ") + failure.what());
    }
    const std::string text = arguments.bJson       ? asJson(plan)
                             : arguments.bCommands ? asCommands(plan)
                                                   : asText(plan, Painter::forFile(stdout));
    if (!writeOutput(text)) {
        return CannotRun;
    }
    return plan.bSucceeds && plan.dangers.empty() ? Clean : HasFindings;
}

} // namespace

void addPlanCommand(CLI::App& app, int& status) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand(
        "plan", "Tell what an install or uninstall would do on this machine now, and do nothing");
    command->add_option("SOURCE", arguments->source,
                        "The folder that holds the product's files; left out with --uninstall");
    command->add_option("SKU", arguments->definition, "The product definition (sku.xml)");
    command->add_option("TARGETS", arguments->targets, "The target-paths file (target_path.xml)");
    command->add_flag("--uninstall", arguments->bUninstall, "Take the product away");
    CLI::Option* json = command->add_flag("--json", arguments->bJson, "Print JSON for other programs");
    command
        ->add_flag("--commands", arguments->bCommands,
                   "Print the shell commands that the run would issue, in their order")
        ->excludes(json);
    command->footer(
        "Start it where the run would be started, as the same user. Exit status: 0 when the run would "
        "succeed and nothing about it is dangerous, 1 when it would fail or something is, 2 when "
        "that cannot be told.");
    command->callback([arguments, &status] {
        if (arguments->bUninstall) {
            leaveOutSource(*arguments);
        }
        for (const auto& [name, value] :
             {std::pair("SOURCE", arguments->source), std::pair("SKU", arguments->definition),
              std::pair("TARGETS", arguments->targets)}) {
            if (value.empty() && !(arguments->bUninstall && name == std::string("SOURCE"))) {
                throw CLI::RequiredError(name);
            }
        }
        status = run(*arguments);
    });
}
