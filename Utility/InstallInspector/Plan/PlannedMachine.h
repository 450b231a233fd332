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

/// An in-memory machine. Commands are recorded as steps and change only the files in memory. Later calls see
/// these changes. It starts as a copy of this machine, or of a described machine. This machine is only read.
/// A described machine sees nothing of this machine but the paths passed to `give`.
///
/// Commands succeed and fail as for the superuser, on a case-sensitive disk with enough room. If the shell
/// would interpret a part of a path, throws CannotForesee.
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
        /// The folder in which a link was made, if its path led to a folder. Empty for any other step.
        std::string inside;
        std::size_t removed = 0; ///< the number of files and folders in a removed folder
    };

    /// The program's bundle in memory, with a folder "Contents". Not a path on this machine.
    static constexpr const char* bundle = "InstallUtility.app";

    PlannedMachine();
    /// A described machine. Its products are not installed.
    explicit PlannedMachine(const MachineDescription& description);

    /// Makes the file or folder at `path` on this machine visible under the same path on a described one, for
    /// the arguments of a run. No folder lists it. Does nothing if the description has something at `path`.
    void give(const std::string& path);
    /// The same for a new, empty folder. Fill it with `make`. Replaces what was given at `path` before.
    void giveFolder(const std::string& path);
    /// Ends the effect of `give` or `giveFolder`.
    void takeBack(const std::string& path) { given.erase(path); }
    /// Makes a file, folder or link with all folders above it. `text` is the content of a file or the target
    /// of a link. Records no step.
    void make(const std::string& path, mode_t type, std::string text);

    /// Call it when the run begins. Keeps the current state for `before`, and forgets all steps.
    void begin();
    /// The machine before the run. Only for reading.
    Machine& before() { return earlier == nullptr ? thisMachine : *earlier; }
    /// The target of the link at `path` before the run. Empty if there was no link.
    std::string linkTextBefore(const std::string& path);

    /// The steps in the order of the run.
    const std::vector<Step>& steps() const { return recordedSteps; }
    /// The same. Empties the list of this machine.
    std::vector<Step> takeSteps() { return std::exchange(recordedSteps, {}); }
    /// The texts of the questions that the user would be asked.
    const std::vector<std::string>& alerts() const { return alertTexts; }

    /// `path` with all links, "." and ".." before its last name resolved. Two paths with the same result are
    /// the same place. If a folder on the way is missing, the rest of the path stays unchanged.
    std::string placeOf(const std::string& path);
    /// The target of the link at `path`. Empty if there is no link.
    std::string linkText(const std::string& path);

    /// While it lives, answers of the shell are not recorded as steps. For questions that are not part of the
    /// run.
    class WithoutSteps {
    public:
        explicit WithoutSteps(PlannedMachine& toQuiet) : machine(toQuiet) { ++machine.withoutSteps; }
        ~WithoutSteps() { --machine.withoutSteps; }
        WithoutSteps(const WithoutSteps&) = delete;
        WithoutSteps& operator=(const WithoutSteps&) = delete;

    private:
        PlannedMachine& machine;
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
    /// A file, a folder or a link. The type is 0 if nothing exists.
    struct Node {
        mode_t type = 0;
        /// The path on this machine with the content of a file, or with the entries of a folder that are not
        /// in `children`. Empty if there is none.
        std::string origin;
        std::string text; ///< the target of a link, or the content of a file without origin
        std::map<std::string, Node, std::less<>> children;
        std::uint64_t number = 0; ///< a new one for each file without origin, like an inode
    };
    /// The result of following a path.
    struct Place {
        Node* node = nullptr;       ///< null when a folder on the way is missing, or the path is no path
        std::vector<Node*> folders; ///< the folders on the way, from "/"
        std::vector<const std::string*> names; ///< the names of the folders below "/", and of the node
        int error = 0;                         ///< why there is no node, an errno value
        std::string within;                    ///< the given path in which it lies; empty for "/"
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

    bool perform(Step& step);
    bool makeFolder(Step& step, const std::string& path);
    bool copyFile(Step& step, const std::string& path);
    bool copyFolder(Step& step);
    bool link(Step& step);
    bool touch(Step& step);
    static bool removeNothing(Step& step, const Place& place);
    bool removeFile(Step& step);
    bool removeFolder(Step& step);
    bool removeEmptyFolder(Step& step);
    bool removeItem(Step& step);
    bool copyItem(Step& step);
    bool createLink(Step& step);

    bool performAndRecord(Step step);

    Node root;
    std::optional<MachineDescription> described; ///< its entries are moved to `root`
    Given given;                                 ///< by path, see give
    Machine thisMachine;
    std::shared_ptr<PlannedMachine> earlier; ///< a described machine as it was when the run began
    std::vector<Step> recordedSteps;
    std::vector<std::string> alertTexts;
    std::string startFolder;                         ///< the working folder of the run
    bool bStartFolderGone = false;                   ///< stays true, even if a folder of that name is made
    std::map<std::string, std::string> folderPlaces; ///< results of placeOfFolder since the last step
    std::map<std::string, std::string> answers;      ///< of the shell, by command
    std::uint64_t filesMade = 0;
    int withoutSteps = 0;
};
