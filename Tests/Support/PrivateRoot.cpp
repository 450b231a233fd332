#include "Tests/Support/PrivateRoot.h"

#include "Tests/Support/AddressSanitizer.h"
#include "Tests/Support/Sources.h"
#include "Tests/Support/Terminal.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <set>
#include <stdexcept>
#include <sys/file.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

const std::string script = inSources("Scripts/private-root");
const char* const inspectorOutside = INSTALLINSPECTOR_PROGRAM;

std::string firstLineOf(const char* subcommand) {
    const ProgramResult result = runProgram({script, subcommand});
    if (result.exitStatus != 0) {
        throw std::runtime_error("Scripts/private-root failed: " + result.standardError);
    }
    return result.standardOutput.substr(0, result.standardOutput.find('\n'));
}

/// With which a command is started in a private root. Finding them out takes as long as the start.
const std::string& wordsToEnter() {
    static const std::string words = firstLineOf("enter");
    return words;
}

/// From which each root is copied. One for fakechroot has tools of its own. PRIVATE_ROOT_TEMPLATE in the
/// environment is its path where the build folder is not in the file system of the temporary files.
fs::path templateFolder() {
    static const char* const wanted =
        std::getenv("PRIVATE_ROOT_TEMPLATE"); // NOLINT(concurrency-mt-unsafe): one thread
    static const fs::path path =
        std::string(wanted == nullptr ? INSTALLUTILITY_PRIVATE_ROOT_TEMPLATE : wanted) +
        (PrivateRoot::isPretended() ? "ForFakechroot" : "");
    return path;
}

void mustSucceed(const std::vector<std::string>& command) {
    ProgramOptions options;
    options.timeout = std::chrono::minutes(10); // these copy a lot, on machines that do much else
    const ProgramResult result = runProgram(command, options);
    if (result.exitStatus != 0) {
        throw std::runtime_error(command[0] + " " + command[1] + ": " + result.standardError);
    }
}

/// Holds a lock on the template: many test programs run at once, and the first one makes it.
class TemplateLock {
public:
    explicit TemplateLock(int kind)
        : file(open((templateFolder().string() + ".lock").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0644)) {
        if (file < 0 || flock(file, kind) != 0) {
            throw std::runtime_error("cannot lock " + templateFolder().string());
        }
    }
    ~TemplateLock() { close(file); }
    TemplateLock(const TemplateLock&) = delete;
    TemplateLock& operator=(const TemplateLock&) = delete;

private:
    int file;
};

fs::path bundleOutside() {
    return fs::path(INSTALLUTILITY_PROGRAM).parent_path().parent_path().parent_path();
}

/// Whether the template holds the program and the tools as they are now.
bool isTemplateCurrent() {
    const fs::path stamp = templateFolder() / "made";
    if (!fs::exists(stamp)) {
        return false;
    }
    const auto made = fs::last_write_time(stamp);
    const auto bOlder = [&](const fs::path& file) { return fs::last_write_time(file) < made; };
    const fs::recursive_directory_iterator bundle(bundleOutside());
    return bOlder(script) && (!PrivateRoot::hasInspector() || bOlder(inspectorOutside)) &&
           std::all_of(begin(bundle), end(bundle), bOlder);
}

void makeTemplate() {
    fs::remove_all(templateFolder());
    const std::string root = templateFolder() / "root";
    mustSucceed({script, "make", root});
    fs::create_directories(root + PrivateRoot::installerFolder);
    mustSucceed({script, "add", root, INSTALLUTILITY_PROGRAM, PrivateRoot::program});
    mustSucceed({"cp", "-R", (bundleOutside() / "Contents").string(), root + PrivateRoot::bundle});
    if (PrivateRoot::hasInspector()) {
        mustSucceed({script, "add", root, inspectorOutside, PrivateRoot::inspector});
    }
    FileTree::write(templateFolder() / "made", "");
}

/// Tools and libraries are shared by all roots; nothing that runs in them changes these files. All the rest
/// is each root's own.
void cloneTemplate(const fs::path& root) {
    mustSucceed({"sh", "-c",
                 R"(cd "$1" && to=$2/ || exit 1
                 # When a link fails, some files are links already: they are not to be written to.
                 cp -al bin lib* "$to" 2>/dev/null || cp -a --remove-destination bin lib* "$to" || exit 1
                 cp -a dev "$to" 2>/dev/null || : >"${to}dev/null"
                 set --
                 for name in *; do
                     case $name in bin | lib* | dev) ;; *) set -- "$@" "$name" ;; esac
                 done
                 cp -a "$@" "$to")",
                 "sh", (templateFolder() / "root").string(), root.string()});
}

std::map<std::string, std::string> usualEnvironment() {
    std::map<std::string, std::string> environment{{"HOME", "/Users/anna"}, {"PATH", "/usr/bin:/bin"}};
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
        if (const char* value = std::getenv(name)) { // NOLINT(concurrency-mt-unsafe): one thread
            environment[name] = value;
        }
    }
    return environment;
}

std::string probe() {
    if (wordsToEnter().empty()) {
        return firstLineOf("why-not");
    }
    if (bAddressSanitizer) {
        const PrivateRoot root;
        if (root.run({"test", "-e", "/proc/self/maps"}).exitStatus != 0) {
            return "the address sanitizer needs /proc, which cannot be mounted here";
        }
    }
    return "";
}

} // namespace

std::string PrivateRoot::buildFolder() {
    return bundleOutside().parent_path();
}

const std::string& PrivateRoot::whyNot() {
    static const std::string reason = probe();
    return reason;
}

bool PrivateRoot::isPretended() {
    return wordsToEnter().find("fakechroot") != std::string::npos;
}

bool PrivateRoot::hasInspector() {
    return *inspectorOutside != '\0';
}

PrivateRoot::PrivateRoot() {
    {
        const TemplateLock lock(LOCK_EX);
        if (!isTemplateCurrent()) {
            makeTemplate();
        }
    }
    const TemplateLock lock(LOCK_SH);
    cloneTemplate(folder.path());
}

void PrivateRoot::write(const std::string& path, const std::string& content, unsigned mode) const {
    fs::remove(outside(path)); // a tool's file is shared with other roots and must not be written to
    FileTree::write(outside(path), content, mode);
}

void PrivateRoot::add(const fs::path& file, const std::string& path) const {
    remove(path); // as in `write`, even while somebody tries what happens when the script does not do so
    mustSucceed({script, "add", folder.path(), file, path});
}

void PrivateRoot::makeFolder(const std::string& path) const {
    fs::create_directories(outside(path));
}

void PrivateRoot::remove(const std::string& path) const {
    fs::remove_all(outside(path));
}

bool PrivateRoot::exists(const std::string& path) const {
    return fs::exists(fs::symlink_status(outside(path)));
}

std::vector<std::string> PrivateRoot::commandToEnter(const std::string& workingFolder) const {
    const std::string& words = wordsToEnter();
    // The script knows what fakechroot and programs that measure coverage need.
    if (isPretended() || std::getenv("PRIVATE_ROOT_COVERAGE") != nullptr) {
        return {script, "run", "--enter", words, folder.path(), "env", "-i", "-C", workingFolder};
    }
    std::vector<std::string> command;
    if (words.find("--map-root-user") != std::string::npos) {
        command = {"unshare", "--map-root-user"};
    }
    const bool bMounts = words.find("--mount") != std::string::npos;
    command.insert(command.end(),
                   {ENTER_ROOT_PROGRAM, bMounts ? "mounts" : "no-mounts", folder.path(), workingFolder});
    return command;
}

std::vector<std::string> PrivateRoot::fullCommand(const std::vector<std::string>& command,
                                                  const Options& options) const {
    std::vector<std::string> full = commandToEnter(options.workingFolder);
    std::map<std::string, std::string> environment = options.environment;
    environment.merge(usualEnvironment());
    for (const auto& [name, value] : environment) {
        full.push_back(std::string(name).append("=").append(value));
    }
    full.insert(full.end(), command.begin(), command.end());
    return full;
}

ProgramResult PrivateRoot::run(const std::vector<std::string>& command, const Options& options) const {
    const auto runIt = [&] { return runUnwatched(command, options); };
    return watch ? watch(command, options, runIt) : runIt();
}

ProgramResult PrivateRoot::runUnwatched(const std::vector<std::string>& command,
                                        const Options& options) const {
    ProgramOptions programOptions;
    programOptions.standardInput = options.standardInput;
    programOptions.timeout = options.timeout;
    return runProgram(fullCommand(command, options), programOptions);
}

ProgramResult PrivateRoot::runInTerminal(const std::vector<std::string>& command,
                                         const std::vector<Answer>& answers, const Options& options) const {
    Terminal terminal(fullCommand(command, options), options.timeout);
    for (const Answer& answer : answers) {
        if (!terminal.waitFor(answer.prompt)) {
            break;
        }
        if (answer.before) {
            answer.before();
        }
        terminal.type(answer.typed);
    }
    return terminal.finish();
}

std::string PrivateRoot::inside(const std::string& target) const {
    const std::string root = folder.path().string() + "/";
    return isPretended() && target.rfind(root, 0) == 0 ? target.substr(root.size() - 1) : target;
}

std::string PrivateRoot::targetOfLink(const std::string& path) const {
    return inside(fs::read_symlink(outside(path)).string());
}

FileTree::Lines PrivateRoot::described(const std::string& path,
                                       const std::function<bool(const fs::path&)>& leftOut) const {
    static const std::string arrow = " -> ";
    FileTree::Lines lines = FileTree::describe(outside(path), path, leftOut);
    for (std::string& line : lines) {
        const std::size_t at = line.find(arrow);
        line = at == std::string::npos
                   ? line
                   : line.substr(0, at + arrow.size()) + inside(line.substr(at + arrow.size()));
    }
    return lines;
}

FileTree::Lines PrivateRoot::tree() const {
    static const std::set<std::string> leftOut{"Volumes", "bin",    "dev",  "etc", "lib", "lib32",
                                               "lib64",   "libx32", "proc", "usr", "var"};
    return described("/", [this](const fs::path& path) {
        return (path.parent_path() == folder.path() && leftOut.count(path.filename()) != 0) ||
               path == outside(buildFolder());
    });
}

FileTree::Lines PrivateRoot::freshTree() {
    return {"/Applications/", "/Library/Preferences/", "/Users/anna/Library/Preferences/", "/tmp/ 1777"};
}

FileTree::Lines PrivateRoot::tree(const std::string& path) const {
    return described(path + "/", [this](const fs::path& entry) { return entry == outside(buildFolder()); });
}
