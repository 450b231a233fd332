#include "Tests/Support/Linux/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// Of the compiler's library; null but in the build that measures coverage.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" void __gcov_dump() __attribute__((weak));

namespace {

/// Counts what a child has run like what its parent runs, in files outside the child's root folder.
class Coverage {
public:
    Coverage() : outside(__gcov_dump != nullptr ? open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1) {}

    void save() const {
        if (outside >= 0 && fchdir(outside) == 0 && chroot(".") == 0) {
            __gcov_dump();
        }
    }

private:
    int outside;
};

enum ExitStatus { Passed = 0, Failed = 1, NotPrepared = 2 };

std::string runInChild(const std::function<bool()>& prepare, const std::string& whyNot,
                       const std::function<void()>& body) {
    static_cast<void>(std::fflush(nullptr));
    const pid_t child = fork();
    if (child == 0) {
        const Coverage coverage;
        if (!prepare()) {
            _exit(NotPrepared);
        }
        body();
        coverage.save();
        static_cast<void>(std::fflush(nullptr));
        _exit(testing::Test::HasFailure() ? Failed : Passed);
    }
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == NotPrepared) {
        return whyNot;
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == Passed)
        << "in the child process, which ended with status " << status;
    return {};
}

} // namespace

std::string runInPrivateRoot(const std::filesystem::path& root, const std::function<void()>& body) {
    const auto prepare = [&] {
        return (chroot(root.c_str()) == 0 || (unshare(CLONE_NEWUSER) == 0 && chroot(root.c_str()) == 0)) &&
               chdir("/") == 0 && setenv("HOME", "/Home", 1) == 0; // NOLINT(concurrency-mt-unsafe)
    };
    return runInChild(prepare, "neither chroot nor a user namespace is allowed here", body);
}

std::string runAsOrdinaryUser(const std::function<void()>& body) {
    const auto prepare = [] {
        constexpr uid_t nobody = 65534;
        return geteuid() != 0 || (setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0);
    };
    return runInChild(prepare, "the superuser cannot become another user here", body);
}

std::string runWithLargestFile(unsigned long bytes, const std::function<void()>& body) {
    const auto prepare = [&] {
        const rlimit limit{bytes, bytes};
        return std::signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &limit) == 0;
    };
    return runInChild(prepare, "file sizes cannot be limited here", body);
}
