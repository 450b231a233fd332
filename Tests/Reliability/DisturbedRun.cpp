#include "Tests/Reliability/DisturbedRun.h"

#include "Tests/Support/FullRun.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <numeric>
#include <random>

namespace fs = std::filesystem;

namespace {

const char* const machineFolders[] = {"Applications", "Library", "Users", "tmp"};
const char* const shimFolder = "/var/faults/bin";

// Numbers the call and notes it; builtins only, so that no other command runs.
const char* const shimText = R"(#!/bin/sh
tool=${0##*/}
read -r number </var/faults/count
number=$((number + 1))
echo $number >/var/faults/count
printf '%s\0' "$#" "$tool" "$@" >>/var/faults/calls
record='/Library/Application Support/Vorlane/InstallationStatusFile.xml'
if [ "$FAULT" = watch ]; then
    [ ! -e "$record" ] || /bin/cp "$record" "/var/faults/records/$number"
elif [ "$number" = "$FAULT_NUMBER" ]; then
    read -r engine </var/faults/engine
    case $FAULT in
    Script) eval "$FAULT_SCRIPT" ;;
    Fails) exit 1 ;;
    WorksButFails) "/bin/$tool" "$@"; exit 1 ;;
    EngineDiesBefore) kill -KILL $engine; exit 1 ;;
    EngineDiesAfter) "/bin/$tool" "$@"; kill -KILL $engine; exit 0 ;;
    esac
fi
exec "/bin/$tool" "$@"
)";

const char* variable(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): one thread
    return value == nullptr ? "" : value;
}

/// Copies the machine's folders between two folders.
void copyMachine(const fs::path& from, const fs::path& to) {
    std::vector<std::string> command{"cp", "-a"};
    for (const char* name : machineFolders) {
        command.push_back(from / name);
    }
    command.push_back(to);
    const ProgramResult result = runProgram(command);
    ASSERT_EQ(result.exitStatus, 0) << result.standardError;
}

} // namespace

DisturbedRun::Snapshot::Snapshot(const PrivateRoot& root) : machine(root) {
    copyMachine(machine.outside("/"), folder.path());
}

void DisturbedRun::Snapshot::restore() const {
    for (const char* name : machineFolders) {
        fs::remove_all(machine.outside("/") / name);
    }
    copyMachine(folder.path(), machine.outside("/"));
}

ProductBuilder DisturbedRun::smallProduct() {
    return ProductBuilder("ALPHA", "Alpha")
        .family("Blur")
        .target("VorlaneFX", statusFolder)
        .target("Hosts/OpenFX", "/Library/OFX/Plugins/Vorlane")
        .file("VorlaneFX/guide.html", "guide")
        .shortCut("VorlaneFX/guide.html", "Guide.html")
        .listedFile("Hosts/OpenFX/Blur/Blur.bundle")
        .unlistedFile("Hosts/OpenFX/Blur/Blur.bundle/Contents/blur", "blur");
}

void DisturbedRun::SetUp() {
    EndToEndTest::SetUp();
    if (!IsSkipped()) {
        placeShims();
        placeSentinels();
    }
}

void DisturbedRun::placeShims() {
    for (const std::string& tool : CommandShim::usualTools()) {
        if (root().exists("/bin/" + tool)) {
            root().write(std::string(shimFolder) + "/" + tool, shimText, 0755);
        }
    }
}

void DisturbedRun::placeSentinels() {
    root().write("/Applications/Other.app/Contents/sentinel", "other");
    root().write("/Library/Application Support/Other/sentinel", "other");
    root().write("/Users/anna/Documents/sentinel", "anna's");
}

void DisturbedRun::ExpectSentinels() {
    EXPECT_EQ(root().read("/Applications/Other.app/Contents/sentinel"), "other");
    EXPECT_EQ(root().read("/Library/Application Support/Other/sentinel"), "other");
    EXPECT_EQ(root().read("/Users/anna/Documents/sentinel"), "anna's");
}

ProgramResult DisturbedRun::runUndisturbed(const Command& command) {
    Options options;
    options.timeout = patience();
    ProgramResult result = root().run(command, options);
    EXPECT_FALSE(result.bTimedOut);
    ExpectSuccess(result);
    return result;
}

DisturbedRun::Disturbed DisturbedRun::runWithShims(const Command& command, unsigned long number,
                                                   const std::string& fault, const std::string& script) {
    root().remove("/var/faults/records");
    root().remove("/var/faults/calls");
    root().makeFolder("/var/faults/records");
    root().write("/var/faults/count", "0\n");
    Options options;
    options.timeout = patience();
    options.environment = {{"PATH", std::string(shimFolder) + ":/usr/bin:/bin"},
                           {"FAULT", fault},
                           {"FAULT_SCRIPT", script},
                           {"FAULT_NUMBER", std::to_string(number)}};
    Command withProcessId{"/bin/sh", "-c", "echo $$ >/var/faults/engine; exec \"$@\"", "sh"};
    withProcessId.insert(withProcessId.end(), command.begin(), command.end());
    Disturbed run;
    run.result = root().run(withProcessId, options);
    run.calls = CommandShim::callsIn(root().outside("/var/faults/calls"));
    return run;
}

DisturbedRun::Disturbed DisturbedRun::runAndWatch(const Command& command, std::set<std::string>& records) {
    Disturbed run = runWithShims(command, 0, "watch");
    ExpectSuccess(run.result);
    for (unsigned long i = 1; i <= run.calls.size(); ++i) {
        const std::string copy = "/var/faults/records/" + std::to_string(i);
        records.insert(root().exists(copy) ? root().read(copy) : noRecord);
    }
    records.insert(record());
    return run;
}

DisturbedRun::Disturbed DisturbedRun::runWithFault(const Command& command, unsigned long number,
                                                   Fault fault) {
    return runWithShims(command, number, nameOf(fault));
}

DisturbedRun::Disturbed DisturbedRun::runWithScript(const Command& command, unsigned long number,
                                                    const std::string& script) {
    return runWithShims(command, number, "Script", script);
}

std::string DisturbedRun::record() {
    return root().exists(recordPath) ? root().read(recordPath) : noRecord;
}

std::set<std::string> DisturbedRun::paths() {
    std::set<std::string> result;
    for (const char* name : machineFolders) {
        const std::string top = std::string("/") + name;
        for (const auto& entry : fs::recursive_directory_iterator(root().outside(top))) {
            result.insert(top + "/" + entry.path().lexically_relative(root().outside(top)).string());
        }
    }
    return result;
}

std::string DisturbedRun::nameOf(Fault fault) {
    switch (fault) {
    case Fault::Fails:
        return "Fails";
    case Fault::WorksButFails:
        return "WorksButFails";
    case Fault::EngineDiesBefore:
        return "EngineDiesBefore";
    case Fault::EngineDiesAfter:
        break;
    }
    return "EngineDiesAfter";
}

bool DisturbedRun::isFull() {
    return isFullRun();
}

std::chrono::seconds DisturbedRun::patience() {
    // A full run takes so long that it is left to a machine that does other things first.
    return isFull() ? std::chrono::minutes(10) : std::chrono::seconds(30);
}

std::vector<unsigned long> DisturbedRun::sample(unsigned long last, unsigned long count,
                                                unsigned long selection) {
    std::vector<unsigned long> numbers(last);
    std::iota(numbers.begin(), numbers.end(), 1);
    if (isFull() || last <= count) {
        return numbers;
    }
    std::mt19937 random(static_cast<std::mt19937::result_type>(seed() + selection));
    std::shuffle(numbers.begin(), numbers.end(), random);
    numbers.resize(count);
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

unsigned long DisturbedRun::seed() {
    return std::strtoul(variable("RELIABILITY_SEED"), nullptr, 10);
}

void DisturbedRun::printFigures(const std::string& line) {
    std::cout << "figures: " << line << "\n";
}
