#pragma once

#include "Foundation/Machine.h"

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

/// What would happen cannot be told: the run would do something whose outcome is not known here.
class CannotForesee : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The machine as a run would change it, held in memory. Commands are noted and not run; what they would do
/// shows in the answers to later questions. The machine itself is only read.
///
/// A command in whose paths the shell would find something to interpret throws CannotForesee. Commands
/// succeed and fail as for the superuser on a disk that has room and tells upper from lower case.
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
        // What the program does without a shell:
        RemoveItem,
        CreateFolder,
        CopyItem,
        CreateLink
    };

    struct Step {
        std::string command; ///< empty for what the program does without a shell
        Verb verb = Verb::Ask;
        std::string source; ///< of a copy; of a link, what it leads to
        std::string path;   ///< what is changed
        mode_t before = 0;  ///< the type of `path` itself before the step; 0 for nothing
        bool bSucceeded = true;
        std::string why;               ///< of a failure
        std::vector<std::string> made; ///< folders that come into being, but for those below a copied folder
        std::size_t removed = 0;       ///< of a removed folder, how many files and folders it held
    };

    /// Stands for the program's bundle, which has a folder "Contents"; no path on this machine.
    static constexpr const char* bundle = "InstallUtility.app";

    PlannedMachine();

    /// In the order in which the run takes them.
    const std::vector<Step>& steps() const { return taken; }

    /// Until the end of its scope nothing is noted. For questions that the run itself does not ask.
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
    /// No other run is waited for: nothing is changed.
    Lock tryToLock() override { return Lock::Held; }
    void unlock() override {}
    VLString mainBundlePath() override;
    bool removeItem(const VLString& path) override;
    bool createFolder(const VLString& path) override;
    bool copyItem(const VLString& source, const VLString& destination) override;
    bool createSymbolicLink(const VLString& link, const VLString& target) override;
    /// Cancel, as where nobody can be asked.
    bool showRetryCancelAlert(const VLString& title, const VLString& text) override;

private:
    /// A file, a folder or a link, or that nothing is there.
    struct Node {
        mode_t type = 0;
        /// Where on this machine the content of a file, or what is in a folder besides `children`, is found;
        /// empty for nowhere.
        std::string origin;
        std::string text; ///< what a link leads to; what a file without origin holds
        std::map<std::string, Node> children;
    };
    /// Where a path leads.
    struct Place {
        Node* node = nullptr;       ///< null when a folder on the way is missing, or the path is no path
        std::vector<Node*> folders; ///< those on the way, from "/"
    };

    static Node nodeAt(const std::string& path);
    static Node& childOf(Node& folder, const std::string& name);
    static std::vector<std::string> childNames(Node& folder);
    static std::size_t countBelow(Node& folder);
    static bool merge(Node& source, Node& destination, std::string& why);
    Place find(const std::string& path, bool bFollow);
    bool isFolder(const std::string& path);

    bool take(Step& step);
    bool makeFolder(Step& step, const std::string& path);
    bool copyFile(Step& step, const std::string& path);
    bool copyFolder(Step& step);
    bool link(Step& step);
    bool touch(Step& step);
    bool removeFile(Step& step);
    bool removeFolder(Step& step);
    bool removeEmptyFolder(Step& step);
    bool removeItem(Step& step);
    bool copyItem(Step& step);
    bool createLink(Step& step);

    bool note(Step step);

    Node root;
    std::vector<Step> taken;
    std::map<std::string, std::string> answers; ///< to commands that ask
    int withoutSteps = 0;
};
