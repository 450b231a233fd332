#include "Utility/InstallInspector/CommandLine.h"

#include "Utility/InstallInspector/Author/NewCommand.h"
#include "Utility/InstallInspector/Author/UpdateCommand.h"
#include "Utility/InstallInspector/Check/CheckCommand.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Compare/CompareCommand.h"
#include "Utility/InstallInspector/Completion/CompletionCommand.h"
#include "Utility/InstallInspector/Documents/RecordFolder.h"
#include "Utility/InstallInspector/Log/LogCommand.h"
#include "Utility/InstallInspector/Machine/MachineCommand.h"
#include "Utility/InstallInspector/Owner/OwnerCommand.h"
#include "Utility/InstallInspector/Plan/PlanCommand.h"
#include "Utility/InstallInspector/Rebuild/RebuildCommand.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallInspector/Status/StatusCommand.h"

// No other file includes this header, which takes longer to compile than all the rest of a file.
#include <CLI/CLI.hpp>

#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// Each add...Command adds one subcommand. When it is chosen, its exit status is put into `status`, which has
// to live as long as `app`.
namespace {

void addRepeated(CLI::App& command, const char* name, std::vector<std::string>& values,
                 const char* description, const char* type) {
    command.add_option(name, values, description)
        ->type_name(type)
        ->expected(1)
        ->allow_extra_args(false) // what follows the one value is no other
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

/// Adds the options for a page in place of the printed text.
void addPage(CLI::App& command, std::string& page, bool& bForce, const std::vector<CLI::Option*>& others) {
    CLI::Option* html =
        command.add_option("--html", page, "Write a page to look at to FILE, and print nothing")
            ->type_name("FILE")
            ->check(
                [](const std::string& file) { return file.empty() ? "the name of a file is wanted" : ""; });
    for (CLI::Option* other : others) {
        html->excludes(other);
    }
    command.add_flag("--force", bForce, "Replace the page if it is there")->needs(html);
}

void addCheckCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<CheckOptions>();
    CLI::App* command = app.add_subcommand(
        "check", "Name every mistake in a product's files, what it will do, and what to write instead");
    CLI::Option* files = command->add_option(
        "FILE", options->files,
        "The product definition (sku.xml) and the target-paths file (target_path.xml); for a "
        "product line several definitions, with target paths for all or for each");
    addRepeated(*command, "--source", options->sources,
                "The folder that holds the product's files; once for all products, or once for each", "DIR");
    addRepeated(*command, "--ignore", options->ignoredRules, "Tell nothing of this rule; may be repeated",
                "RULE");
    addRepeated(*command, "--host", options->hosts,
                "A host that the engine does not know, and that is meant; may be repeated", "NAME");
    command
        ->add_option("--fail-on", options->failOn,
                     "The least that makes the exit status 1: error, warning or note; warning without it")
        ->type_name("LEVEL")
        ->transform(CLI::CheckedTransformer(std::map<std::string, Severity>{{"error", Severity::Error},
                                                                            {"warning", Severity::Warning},
                                                                            {"note", Severity::Note}},
                                            CLI::ignore_case));
    command->add_flag("--json", options->bJson, "Print JSON for other programs");
    command->add_flag("--list-rules", options->bRules, "Print the names of all rules, and check nothing");
    command->callback([options, files, &status] {
        if (!options->bRules && files->empty()) {
            throw CLI::RequiredError("FILE");
        }
        status = runCheck(*options);
    });
}

/// Mends the arguments if the parser took the first of two files for the folder.
void leaveOutSource(PlanOptions& options) {
    if (!options.targets.empty()) {
        throw CLI::ExtrasError({options.targets});
    }
    options.targets = std::exchange(options.definition, std::exchange(options.source, ""));
}

void addPlanCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<PlanOptions>();
    CLI::App* command = app.add_subcommand(
        "plan", "Tell what an install or uninstall would do on this machine now, and do nothing");
    command->add_option("SOURCE", options->source,
                        "The folder that holds the product's files; left out with --uninstall");
    command->add_option("SKU", options->definition, "The product definition (sku.xml)");
    command->add_option("TARGETS", options->targets, "The target-paths file (target_path.xml)");
    command->add_flag("--uninstall", options->bUninstall, "Take the product away");
    command
        ->add_option("--machine", options->machine,
                     "Plan for the machine that this file describes, in place of this one")
        ->type_name("FILE")
        ->check([](const std::string& file) { return file.empty() ? "the name of a file is wanted" : ""; });
    CLI::Option* json = command->add_flag("--json", options->bJson, "Print JSON for other programs");
    CLI::Option* commands =
        command
            ->add_flag("--commands", options->bCommands,
                       "Print the shell commands that the run would issue, in their order")
            ->excludes(json);
    CLI::Option* brief = command
                             ->add_flag("--brief", options->bBrief,
                                        "Print only a table: what each host and family gets, where, and why")
                             ->excludes(json)
                             ->excludes(commands);
    addPage(*command, options->html, options->bForce, {json, commands, brief});
    command->footer(
        "Start it where the run would be started, as the same user. Exit status: 0 when nothing of the "
        "product or of others would be lost, left behind, shown to the user as an error or unrecorded, 1 "
        "when something would or that cannot be known, 2 when there is no plan.");
    command->callback([options, &status] {
        if (options->bUninstall) {
            leaveOutSource(*options);
        }
        for (const auto& [name, value] :
             {std::pair("SOURCE", options->source), std::pair("SKU", options->definition),
              std::pair("TARGETS", options->targets)}) {
            if (value.empty() && !(options->bUninstall && name == std::string("SOURCE"))) {
                throw CLI::RequiredError(name);
            }
        }
        status = runPlan(*options);
    });
}

void addMachineCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<MachineOptions>();
    CLI::App* command =
        app.add_subcommand("machine", "Describe this machine in one file, so that others can plan for it");
    command->add_option("FILE", options->files,
                        "Target paths, whose folders are described with all that is in them; with product "
                        "definitions what matters for these products alone");
    command->footer("Start it as the user whose machine it is. What is installed here is always described. "
                    "Exit status: 0 "
                    "when all could be described, 1 when something could not be looked at, 2 when there is "
                    "no description.");
    command->callback([options, &status] { status = runMachine(*options); });
}

void checkUsage(const StatusOptions& options) {
    if (options.definitions.empty() != options.targets.empty()) {
        throw CLI::RequiredError(options.targets.empty() ? "--targets (with --sku)"
                                                         : "--sku (with --targets)");
    }
    if (options.targets.size() > 1 && options.targets.size() != options.definitions.size()) {
        throw CLI::ValidationError("--targets", "give it once for all products, or once for each --sku");
    }
}

void addStatusCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<StatusOptions>();
    CLI::App* command =
        app.add_subcommand("status", "Show what is installed, and how the record and this machine agree");
    command->add_option(
        "FOLDER", options->folder,
        std::string("The folder that holds the record, or a record by itself; without it that "
                    "of the given or installed products, or ") +
            usualStatusFolder);
    addRepeated(*command, "--targets", options->targets,
                "The target-paths file of the products; once for all, or once for each --sku", "FILE");
    addRepeated(*command, "--sku", options->definitions,
                "A product definition to compare with in place of the installed ones; may be repeated",
                "FILE");
    addRepeated(*command, "--want", options->wanted,
                "Tell whether this product needs an install to be here whole, in that build or a newer one; "
                "the exit status is then about that alone. May be repeated",
                "ID[=BUILD]");
    command->add_flag("--verify", options->bVerify,
                      "Read what is installed, and compare it with the manifests in the definitions");
    CLI::Option* json = command->add_flag("--json", options->bJson, "Print JSON for other programs");
    addPage(*command, options->html, options->bForce, {json});
    command->callback([options, &status] {
        checkUsage(*options);
        status = runStatus(*options);
    });
}

void addLogCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<LogOptions>();
    CLI::App* command = app.add_subcommand(
        "log", "Tell from what runs have printed what they did, what failed, and what to do");
    command
        ->add_option("FILE", options->file,
                     "What runs have printed, or a system log such as /var/log/install.log; - for standard "
                     "input")
        ->required();
    command->add_flag("--json", options->bJson, "Print JSON for other programs");
    command->footer("Exit status: 0 when no run tells of anything that went wrong, 1 when one does or breaks "
                    "off, 2 when the file cannot be read or no run is in it.");
    command->callback([options, &status] { status = runLog(*options); });
}

void addOwnerCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<OwnerOptions>();
    CLI::App* command = app.add_subcommand(
        "owner", "Tell which installed products use a file, and who removes it, or where a product lies");
    command
        ->add_option("PATH", options->paths,
                     "A path on this machine, a path of the tree, or the ID or name of a product")
        ->required();
    command->add_flag("--json", options->bJson, "Print JSON for other programs");
    command->footer("Exit status: 0 when all of them are known, 1 when one is not.");
    command->callback([options, &status] { status = runOwner(*options); });
}

void addRebuildCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<RebuildOptions>();
    CLI::App* command = app.add_subcommand(
        "rebuild", "Print the record that this machine should have, from what products have left on it");
    command->add_option(
        "FOLDER", options->folder,
        std::string("The folder of the record; without it that of the installed products, or ") +
            usualStatusFolder);
    command
        ->add_option("-o,--output", options->output,
                     "Write it to this file, which must not be there yet; without it standard output")
        ->type_name("FILE");
    command->footer(
        "Standard error says what the record cannot know. Exit status: 0 when no product is known to be "
        "missing in it, 1 when one is, 2 when there is nothing to rebuild or the file is not "
        "written.");
    command->callback([options, &status] { status = runRebuild(*options); });
}

void addNewCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<NewOptions>();
    CLI::App* command =
        app.add_subcommand("new", "Write a definition for a folder with the files of a product");
    command
        ->add_option("FILES", options->folder,
                     "The folder: Hosts/HOST/FAMILY, VorlaneFX and Content, as they are to be installed")
        ->required();
    command->add_option("--id", options->identity.ID, "What no other product is called")->required();
    command->add_option("--name", options->identity.name, "What users see")->required();
    command->add_option("--build", options->identity.build, "Four numbers, such as 1.0.0.100")->required();
    command->add_option("--prefix", options->identity.prefix, "The prefix, for other tools");
    command
        ->add_option("--exclude", options->exclude,
                     "Leave out what matches; may be repeated. The definition keeps it for check and update")
        ->type_name("GLOB")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command->add_option("-o,--output", options->definition, "The file to write; without it standard output")
        ->type_name("SKU");
    command->add_option("--targets", options->targets, "Write target paths to begin with, too")
        ->type_name("FILE");
    command->add_flag("--manifest", options->bManifest, "Write size and SHA-256 of each file");
    command->add_flag("--force", options->bForce, "Replace files that are there");
    command->footer(
        "Exit status: 0 when all is written, 1 when all is written and something is noted that a person "
        "should look at, 2 when nothing is written or standard output takes no more.");
    command->callback([options, &status] { status = runNew(*options); });
}

void addUpdateCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<UpdateOptions>();
    CLI::App* command =
        app.add_subcommand("update", "Bring a definition up to date with the folder that holds the files");
    command->add_option("SKU", options->definition, "The product definition (sku.xml)")->required();
    command->add_option("--source", options->source, "The folder that holds the product's files")
        ->type_name("FILES")
        ->required();
    command->add_flag("--manifest", options->bManifest,
                      "Write size and SHA-256 of each file; a definition that has them keeps them anyway");
    command->add_flag("--dry-run", options->bDryRun, "Only print what would change");
    command->footer(
        "Exit status: 0 when the definition is up to date, 1 when something is noted that a person "
        "should look at or, with --dry-run, something would change, 2 when nothing is written or standard "
        "output takes no "
        "more.");
    command->callback([options, &status] { status = runUpdate(*options); });
}

void addCompareCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<CompareOptions>();
    CLI::App* command = app.add_subcommand(
        "compare", "Tell what an update from one build to another leaves behind or loses, and do nothing");
    command->add_option("OLD", options->oldDefinition, "The definition of the build that customers have")
        ->required();
    command->add_option("NEW", options->newDefinition, "The definition of the build that they get")
        ->required();
    command->add_option("--targets", options->targets, "The target paths of the one and of the other")
        ->type_name("OLD NEW")
        ->expected(2);
    command->add_flag("--json", options->bJson, "Print JSON for other programs");
    command->footer(
        "Exit status: 0 when an update leaves nothing behind and loses nothing, as far as the files say, "
        "1 when it does or they do not say, 2 when the files cannot be compared.");
    command->callback([options, &status] { status = runCompare(*options); });
}

// What a shell needs to know of all of them

/// What a value is, by the name that the help gives it.
ValueSyntax valueNamed(const std::string& name) {
    using Kind = ValueSyntax::Kind;
    static const std::set<std::string> folders{"DIR", "FILES", "SOURCE"};
    static const std::set<std::string> files{"FILE",    "FOLDER", "NEW", "OLD",
                                             "OLD NEW", "PATH",   "SKU", "TARGETS"};
    if (name == "LEVEL") {
        return {Kind::Word, name, {"error", "warning", "note"}};
    }
    if (name == "RULE") {
        ValueSyntax rules{Kind::Word, name, {}};
        for (const Rule& rule : allRules()) {
            rules.words.emplace_back(rule.name);
        }
        return rules;
    }
    if (name == "SHELL") {
        return {Kind::Word, name, shellsWithCompletion()};
    }
    return {folders.count(name) != 0 ? Kind::Folder
            : files.count(name) != 0 ? Kind::File
                                     : Kind::Text,
            name,
            {}};
}

bool isRepeatable(const CLI::Option& option) {
    return option.get_items_expected_max() > 2;
}

std::vector<OptionSyntax> optionsOf(const CLI::App& app) {
    std::vector<OptionSyntax> options;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional()) {
            continue;
        }
        OptionSyntax syntax;
        for (const std::string& name : option->get_snames()) {
            syntax.names.push_back("-" + name);
        }
        for (const std::string& name : option->get_lnames()) {
            syntax.names.push_back("--" + name);
        }
        syntax.description = option->get_description();
        syntax.bRepeatable = option->get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
        if (option->get_items_expected_max() > 0) {
            const std::string type = option->get_type_name();
            syntax.value =
                valueNamed(type.substr(0, type.find(':'))); // what may be in it comes after the name
        }
        options.push_back(std::move(syntax));
    }
    return options;
}

ProgramSyntax syntaxOf(const CLI::App& app) {
    ProgramSyntax program{app.get_name(), optionsOf(app), {}};
    for (const CLI::App* command : app.get_subcommands({})) {
        SubcommandSyntax syntax{
            command->get_name(), command->get_description(), optionsOf(*command), {}, false};
        for (const CLI::Option* option : command->get_options()) {
            if (option->get_positional()) {
                syntax.arguments.push_back(valueNamed(option->get_name()));
                syntax.bMoreArguments = isRepeatable(*option);
            }
        }
        program.subcommands.push_back(std::move(syntax));
    }
    return program;
}

void addCompletionCommand(CLI::App& app, int& status) {
    auto shell = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(
        "completion", "Print a script that lets a shell complete the words of this program");
    command->add_option("SHELL", *shell, "bash, fish or zsh")
        ->required()
        ->check(CLI::IsMember(shellsWithCompletion()));
    command->callback([shell, &app, &status] { status = runCompletion(*shell, syntaxOf(app)); });
}

} // namespace

int runCommandLine(int argc, char* argv[]) {
    CLI::App app("Writes a product's definition, checks the product before it ships, tells what a run would "
                 "do, and shows "
                 "what is installed. Changes nothing but the file that it is told to write.",
                 "InstallInspector");
    app.set_version_flag("--version", "InstallInspector " INSTALLUTILITY_VERSION);
    app.require_subcommand(1);
    int status = Clean;
    addCheckCommand(app, status);
    addPlanCommand(app, status);
    addMachineCommand(app, status);
    addStatusCommand(app, status);
    addRebuildCommand(app, status);
    addOwnerCommand(app, status);
    addLogCommand(app, status);
    addCompareCommand(app, status);
    addNewCommand(app, status);
    addUpdateCommand(app, status);
    addCompletionCommand(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Help and version are exceptions, too. Their status is 0, and their text is in the stream.
        std::ostringstream text;
        const bool bPrints = app.exit(error, text) == 0;
        return bPrints && writeOutput(text.str()) ? Clean : CannotRun;
    }
    return status;
}
