#pragma once

#include <filesystem>

/// Changes the working folder until the end of the scope.
class WorkingFolder {
public:
    explicit WorkingFolder(const std::filesystem::path& folder) : before(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~WorkingFolder() { std::filesystem::current_path(before); }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

private:
    std::filesystem::path before;
};
