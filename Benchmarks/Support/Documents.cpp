#include "Benchmarks/Support/Documents.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <unistd.h>
#include <vector>

namespace {

constexpr long mostInAFolder = 100;

using Printer = std::function<std::string(long number)>;

/// Elements for `count` files, the first of them with this number, in as many levels of folders as it takes.
std::string tree(long first, long count, const std::string& indent, const Printer& folder,
                 const Printer& file) {
    std::string text;
    if (count <= mostInAFolder) {
        for (long i = 0; i < count; ++i) {
            text += indent + file(first + i);
        }
        return text;
    }
    long inEach = mostInAFolder;
    while (inEach * mostInAFolder < count) {
        inEach *= mostInAFolder;
    }
    for (long done = 0; done < count; done += inEach) {
        text += indent + folder(first + done);
        text += tree(first + done, std::min(inEach, count - done), indent + "    ", folder, file);
        text += indent + "</directory>\n";
    }
    return text;
}

/// A tree below VorlaneFX whose elements have these attributes, too.
std::string installFiles(long files, const std::string& ofFolders, const std::string& ofFiles) {
    const Printer folder = [&](long number) {
        return "<directory fileName=\"Preset Group " + std::to_string(number) + "\"" + ofFolders + ">\n";
    };
    const Printer file = [&](long number) {
        return "<file fileName=\"Preset " + std::to_string(number) + ".vlpreset\"" + ofFiles + " />\n";
    };
    return "    <installFiles>\n        <directory fileName=\"VorlaneFX\"" + ofFolders + ">\n" +
           tree(0, files, "            ", folder, file) + "        </directory>\n    </installFiles>\n";
}

/// The path of each file in the tree that installFiles() gives for so many.
std::vector<std::filesystem::path> pathsIn(const std::string& xml) {
    std::vector<std::filesystem::path> paths;
    std::filesystem::path folder;
    std::istringstream lines(xml);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t name = line.find("fileName=\"") + 10;
        if (line.find("</directory>") != std::string::npos) {
            folder = folder.parent_path();
        } else if (line.find("<directory ") != std::string::npos) {
            folder /= line.substr(name, line.find('"', name) - name);
        } else if (line.find("<file ") != std::string::npos) {
            paths.push_back(folder / line.substr(name, line.find('"', name) - name));
        }
    }
    return paths;
}

std::string memoryFolder() {
    std::error_code missing;
    const char* const inMemory = "/dev/shm";
    return std::filesystem::is_directory(inMemory, missing) ? inMemory
                                                            : std::filesystem::temp_directory_path().string();
}

} // namespace

namespace Documents {

std::string Definition(long files) {
    return "<product>\n    <sku ID=\"BENCH\" name=\"Benchmark\" build=\"1.0.0.100\"/>\n" +
           installFiles(files, "", "") + "</product>\n";
}

std::string Record(long files) {
    return "<install>\n"
           "    <products>\n"
           "        <sku ID=\"FIRST\" name=\"First\" build=\"1.0.0.99\" />\n"
           "        <sku ID=\"SECOND\" name=\"Second\" build=\"1.0.0.99\" />\n"
           "    </products>\n" +
           installFiles(files, " ref=\"2\"", " ref=\"2\" build=\"1.0.0.99\"") + "</install>\n";
}

std::string TargetPaths(long folders) {
    std::string text = "<root>\n    <item name=\"VorlaneFX\">\n";
    for (long i = 0; i < folders; ++i) {
        const std::string path = "/Library/Application Support/Vorlane/Target " + std::to_string(i);
        text += "        <path value=\"" + path + "\"";
        text += i % 2 == 0
                    ? "/>\n"
                    : ">\n            <condition type=\"and\">\n"
                      "                <condition type=\"PathNotExist\" value=\"" +
                          path +
                          "/No\"/>\n"
                          "                <condition type=\"PathNotExist\" value=\"/No such folder\"/>\n"
                          "            </condition>\n        </path>\n";
    }
    return text + "    </item>\n</root>\n";
}

void MakeFolder(const VLString& path) {
    std::filesystem::create_directories(path.ConstData());
}

void MakeFiles(const VLString& path, long files) {
    for (const std::filesystem::path& file : pathsIn(installFiles(files, "", ""))) {
        const std::filesystem::path made = path.ConstData() / file;
        std::filesystem::create_directories(made.parent_path());
        Write(VLString(made.c_str()), "");
    }
}

Folder::Folder() : name(memoryFolder() + "/InstallUtilityXXXXXX") {
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no folder in " + memoryFolder());
    }
}

Folder::~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(name, ignored);
}

void Write(const VLString& path, const std::string& content) {
    std::ofstream file(path.ConstData(), std::ios::binary);
    file << content;
    if (!file.flush()) {
        throw std::runtime_error(std::string("cannot write ") + path.ConstData());
    }
}

} // namespace Documents
