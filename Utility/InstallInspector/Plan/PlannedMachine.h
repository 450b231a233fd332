#pragma once

#include "Foundation/Machine.h"
#include "Utility/InstallInspector/Documents/MachineDescription.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The result of a step of the run cannot be predicted.
class CannotForesee : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// An in-memory machine. Commands are recorded as steps and change only the files in memory, which later
/// calls see. At first it is as this machine, which is only read, or as a description says. Of this machine,
/// a described one has only what it is given.
///
/// Commands succeed and fail as for the superuser, on a disk with room where upper and lower case differ. If
/// the shell would interpret a part of a path, throws CannotForesee.
class PlannedMachine : public Machine {
public:
    enum class Verb {
        Ask, ///< changes nothing
        MakeFolder,
        CopyFile,
        CopyFolder,
        Link,
        Touch,
        RemoveFile,
        RemoveFolder,
        RemoveEmptyFolder,
        // Without a shell:
        RemoveItem,
        CreateFolder,
        CopyItem,
        CreateLink
    };

    struct Step {
        std::string command; ///< empty for a step without a shell
        Verb verb = Verb::Ask;
        std::string source; ///< the source of a copy, or the target of a link
        std::string path;   ///< the path that is changed
        mode_t before = 0;  ///< the type of `path` before the step, without following a link; 0 if missing
        bool bSucceeded = true;
        std::string why;               ///< the reason of a failure
        std::vector<std::string> made; ///< new folders, without those inside a copied folder
        std::string
            inside; ///< of a link that was made inside a folder, since its own path leads to one: that
        std::size_t removed = 0; ///< the number of files and folders in a removed folder
    };

    /// The program's bundle in memory, with a folder "Contents". Not a path on this machine.
    static constexpr const char* bundle = "InstallUtility.app";

    PlannedMachine();
    /// A described machine. Its products are not installed.
    explicit PlannedMachine(const MachineDescription& description);

    /// What a run is told by its arguments is from this machine: `path`, as it stands there, and all below it
    /// are the file or folder `path`. No folder lists it, so where it lies does not matter. A path that the
    /// description has is left to it.
    void give(const std::string& path);
    /// The same with a folder in which nothing is, see `make`. Takes the place of what was given before.
    void giveFolder(const std::string& path);
    void takeBack(const std::string& path) { given.erase(path); }
    /// Makes a file, folder or link with all folders above it.
    void make(const std::string& path, mode_t type, std::string text);

    /// To be called when the run begins: keeps what `before` gives, and forgets all steps.
    void begin();
    /// The machine as it was before the run. Only for questions.
    Machine& before() { return earlier == nullptr ? thisMachine : *earlier; }
    /// What the link at `path` said then; empty when there was no link.
    std::string linkTextBefore(const std::string& path);

    /// In the order of the run.
    const std::vector<Step>& steps() const { return taken; }
    /// The same, after which there are none here any more.
    std::vector<Step> takeSteps() { return std::exchange(taken, {}); }
    /// The texts of the questions that the user would be asked.
    const std::vector<std::string>& alerts() const { return asked; }

    /// The path without links, "." and ".." on the way to its last name: two paths with the same one are the
    /// same place. Where a folder on the way is missing, the rest stays as it is.
    std::string placeOf(const std::string& path);
    /// What the link at `path` says; empty when there is no link.
    std::string linkText(const std::string& path);

    /// No steps are recorded until the end of its scope. For calls that are not part of the run.
    class WithoutSteps {
    public:
        explicit WithoutSteps(PlannedMachine& noting) : fileSystem(noting) { ++fileSystem.withoutSteps; }
        ~WithoutSteps() { --fileSystem.withoutSteps; }
        WithoutSteps(const WithoutSteps&) = delete;
        WithoutSteps& operator=(const WithoutSteps&) = delete;

    private:
        PlannedMachine& fileSystem;
    };

    bool run(const Command& command) override;
    bool capture(const VLString& command, VLString& output) override;
    mode_t typeOf(const VLString& path) override;
    mode_t linkTypeOf(const VLString& path) override;
    std::vector<VLString> namesIn(const VLString& folder) override;
    FileContent readFile(const VLString& path) override;
    Saved saveFile(const VLString& path, const std::function<void(FILE*)>& print, const FileState* expected,
                   int& error) override;
    bool createFile(const VLString& path, const char* bytes, std::size_t size, int& error) override;
    /// Does not lock, because nothing is changed.
    Lock tryToLock() override { return Lock::Held; }
    void unlock() override {}
    bool hasProgram(const VLString& name) override;
    const char* environmentHome() override;
    VLString preference(const VLString& key, const VLString& valueName, const VLString& folder) override;
    VLString mainBundlePath() override;
    bool removeItem(const VLString& path) override;
    bool createFolder(const VLString& path) override;
    bool copyItem(const VLString& source, const VLString& destination) override;
    bool createSymbolicLink(const VLString& link, const VLString& target) override;
    /// Returns false (Cancel), as if nobody can be asked.
    bool showRetryCancelAlert(const VLString& title, const VLString& text) override;

private:
    /// A file, a folder or a link. Type 0: nothing exists.
    struct Node {
        mode_t type = 0;
        /// The path on this machine with the content of a file, or with the entries of a folder that are not
        /// in `children`. Empty if there is none.
        std::string origin;
        std::string text; ///< the target of a link, or the content of a file without origin
        std::map<std::string, Node, std::less<>> children;
        std::uint64_t number = 0; ///< of a file without origin: tells it from those before it
    };
    /// The result of following a path.
    struct Place {
        Node* node = nullptr;       ///< null when a folder on the way is missing, or the path is no path
        std::vector<Node*> folders; ///< those on the way, from "/"
        std::vector<const std::string*> names; ///< of those below "/", and of the node
        int error = 0;                         ///< why there is no node, an errno value
        std::string within; ///< the path of what was given in which it lies, in place of "/"
    };

    static Node nodeAt(const std::string& path);
    using Child = std::map<std::string, Node, std::less<>>::value_type;
    static Child& entryOf(Node& folder, std::string_view name);
    static Node& childOf(Node& folder, std::string_view name) { return entryOf(folder, name).second; }
    static std::vector<std::string> childNames(Node& folder);
    static std::size_t countBelow(Node& folder);
    static bool merge(Node& source, Node& destination, std::string& why);
    Place find(const std::string& path, bool bFollow);
    static Place nowhere(int error);
    Place walk(std::string_view path, bool bFollow, Node& start, const std::string& within);
    using Given = std::map<std::string, Node>;
    Given::iterator givenWith(const std::string& path);
    static void readWhole(Node& folder);
    static FileState stateOf(const Node& node);
    Node madeFile(std::string text);
    bool isFolder(const std::string& path);
    std::string placeOfFolder(const std::string& path);

    bool take(Step& step);
    bool makeFolder(Step& step, const std::string& path);
    bool copyFile(Step& step, const std::string& path);
    bool copyFolder(Step& step);
    bool link(Step& step);
    bool touch(Step& step);
    static bool isNothing(Step& step, const Place& place);
    bool removeFile(Step& step);
    bool removeFolder(Step& step);
    bool removeEmptyFolder(Step& step);
    bool removeItem(Step& step);
    bool copyItem(Step& step);
    bool createLink(Step& step);

    bool note(Step step);

    Node root;
    std::optional<MachineDescription> described; ///< without what exists
    Given given;                                 ///< see give
    Machine thisMachine;
    std::shared_ptr<PlannedMachine> earlier; ///< a described machine as it was when the run began
    std::vector<Step> taken;
    std::vector<std::string> asked;
    std::string startFolder;                         ///< the working folder of the run
    bool bStartFolderGone = false;                   ///< once removed, it does not come back under its name
    std::map<std::string, std::string> folderPlaces; ///< what placeOfFolder has found since the last step
    std::map<std::string, std::string> answers;      ///< to commands that ask
    std::uint64_t filesMade = 0;
    int withoutSteps = 0;
};
