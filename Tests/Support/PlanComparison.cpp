#include "Tests/Support/PlanComparison.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

namespace {

const char* const shell = "/bin/sh";
const char* const unwatchedShell = "/bin/unwatched-sh";
const char* const shellBefore = "/bin/sh-before";
const char* const recordedCommands = "/var/commands";
const char* const planFolder = "/var/plan";

std::string nameOf(const std::string& path) {
    return fs::path(path).filename();
}

bool isScript(const fs::path& file) {
    std::ifstream stream(file);
    return stream.get() == '#' && stream.get() == '!';
}

/// Another shell in the place of the machine's until the end of the scope. What was there, which may be a
/// test's own, is then at `shellBefore`.
class OtherShell {
public:
    explicit OtherShell(const PrivateRoot& machine) : root(machine) {
        fs::rename(root.outside(shell), root.outside(shellBefore));
    }
    ~OtherShell() {
        // First, since renaming a name of a file to another name of the same file does nothing.
        std::error_code error;
        fs::remove(root.outside(shell), error);
        fs::rename(root.outside(shellBefore), root.outside(shell), error);
    }
    OtherShell(const OtherShell&) = delete;
    OtherShell& operator=(const OtherShell&) = delete;

private:
    const PrivateRoot& root;
};

} // namespace

bool PlanComparison::isAvailable() {
    return PrivateRoot::hasInspector();
}

PlanComparison::PlanComparison(const PrivateRoot& machine) : root(machine) {
    fs::create_hard_link(root.outside(shell), root.outside(unwatchedShell));
}

ProgramResult PlanComparison::around(const std::vector<std::string>& command,
                                     const PrivateRoot::Options& options,
                                     const std::function<ProgramResult()>& run) const {
    const std::optional<Question> question = questionFor(command, options);
    if (!question) {
        return run();
    }
    const std::string planned = plannedCommands(*question);
    root.remove(planFolder);

    const OtherShell noting(root);
    root.write(shell,
               std::string("#!") + unwatchedShell + "\n[ \"$1\" != -c ] || printf '%s\\n' \"$2\" >>" +
                   recordedCommands + "\nexec " + shellBefore + " \"$@\"\n",
               0755);
    root.write(recordedCommands, "");
    ProgramResult result = run();
    EXPECT_EQ(planned, root.read(recordedCommands)) << "the plan is not what the run does";
    root.remove(recordedCommands);
    return result;
}

/// None when the command is no run of the program, or none that can be compared.
std::optional<PlanComparison::Question>
PlanComparison::questionFor(const std::vector<std::string>& command,
                            const PrivateRoot::Options& options) const {
    if (options.environment.count("PATH") != 0) {
        return std::nullopt;
    }
    const std::string program = nameOf(command.front());
    if (program == "UninstallLauncher") {
        return questionForUninstaller(command.front(), options);
    }
    if (program != "InstallUtility" || command.size() < 4) {
        return std::nullopt;
    }
    Question question{{PrivateRoot::inspector, "plan", "--commands"}, options};
    if (command[1] == "-uninstall") {
        question.command.insert(question.command.end(), {"--uninstall", "--", command[2], command[3]});
    } else {
        question.command.insert(question.command.end(), {"--", command[1], command[2], command[3]});
    }
    return question;
}

/// The launcher copies what the uninstall needs out of the bundle, and starts it in an empty folder.
std::optional<PlanComparison::Question>
PlanComparison::questionForUninstaller(const std::string& launcher,
                                       const PrivateRoot::Options& options) const {
    const fs::path full =
        launcher.front() == '/' ? fs::path(launcher) : options.workingFolder / fs::path(launcher);
    const fs::path contents = full.lexically_normal().parent_path().parent_path();
    const fs::path engine = contents / "MacOS/InstallUtility";
    if (!root.exists(contents / "sku.xml") || !root.exists(contents / "target_path.xml") ||
        isScript(root.outside(engine))) {
        return std::nullopt;
    }
    const std::string folder = planFolder;
    root.makeFolder(folder + "/empty");
    for (const char* file : {"sku.xml", "target_path.xml"}) {
        fs::copy_file(root.outside(contents / file), root.outside(folder + "/" + file));
    }
    Question question{
        {PrivateRoot::inspector, "plan", "--commands", "--uninstall", "../sku.xml", "../target_path.xml"},
        options};
    question.options.workingFolder = folder + "/empty";
    return question;
}

std::string PlanComparison::plannedCommands(const Question& question) const {
    // A test's own shell must not hear of the plan.
    const OtherShell recording(root);
    fs::create_hard_link(root.outside(unwatchedShell), root.outside(shell));
    const FileTree::Lines before = root.tree();
    const ProgramResult plan = root.runUnwatched(question.command, question.options);
    EXPECT_EQ(FileTree::difference(before, root.tree()), "") << "the plan has changed something";
    EXPECT_TRUE(plan.exitStatus == 0 || plan.exitStatus == 1)
        << plan.exitStatus << ": " << plan.standardError;
    EXPECT_EQ(plan.standardError, "");
    return plan.standardOutput;
}
