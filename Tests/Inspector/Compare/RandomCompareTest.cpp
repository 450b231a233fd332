// Random pairs of builds: what "compare" says of an update, against what an install of the one and then of
// the other leaves on the disk.
#include "Tests/Support/DiskContent.h"
#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/FullRun.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;
using Random = std::mt19937;

const char* const host = "/Applications/Edius";
const char* const marker = "/Applications/Edius/Edius 9";
const char* const recordName = "InstallationStatusFile.xml";

bool happens(Random& random, int percent) {
    return std::uniform_int_distribution<int>(1, 100)(random) <= percent;
}

template <class Container>
const auto& oneOf(Random& random, const Container& container) {
    const auto index = std::uniform_int_distribution<std::size_t>(0, container.size() - 1)(random);
    return *std::next(container.begin(), static_cast<std::ptrdiff_t>(index));
}

enum class Kind {
    File,
    Whole, ///< a folder that is listed, and nothing in it
    Bundle ///< listed as a file, a folder in the source
};

struct Leaf {
    Kind kind = Kind::File;
    ProductBuilder::Attributes flags;
    std::string shortCut;
    std::set<std::string> inside; ///< of a folder
};

struct Target {
    std::string folder;
    std::string condition; ///< "", "host", "no host" or "marker"
};

/// One build of the product.
struct Build {
    std::string id = "ALPHA";
    std::string name = "Alpha";
    int number = 10;
    bool bManifest = false;
    std::set<std::string> families;
    std::map<std::string, Leaf> leaves;                 ///< by path in the tree
    std::map<std::string, std::vector<Target>> targets; ///< by item

    std::string contentOf(const std::string& path) const {
        return path + " of " + id + " " + std::to_string(number);
    }
};

TargetCondition conditionOf(const Target& target) {
    return target.condition == "host"      ? pathExists(host)
           : target.condition == "no host" ? pathMissing(host)
           : target.condition == "marker"  ? fileExists(marker)
                                           : TargetCondition();
}

ProductBuilder builderOf(const Build& build) {
    ProductBuilder product(build.id, build.name);
    product.build("1.0.0." + std::to_string(build.number)).unlistedFile("VorlaneFX/unlisted", "");
    for (const std::string& family : build.families) {
        product.family(family);
    }
    for (const auto& [item, targets] : build.targets) {
        for (const Target& target : targets) {
            product.target(item, target.folder, conditionOf(target));
        }
    }
    for (const auto& [path, leaf] : build.leaves) {
        if (leaf.kind == Kind::File) {
            product.file(path, build.contentOf(path), leaf.flags);
        } else if (leaf.kind == Kind::Whole) {
            product.folder(path, leaf.flags);
        } else {
            product.listedFile(path, leaf.flags);
        }
        for (const std::string& name : leaf.inside) {
            product.unlistedFile(path + "/" + name, build.contentOf(path + "/" + name));
        }
        if (!leaf.shortCut.empty()) {
            product.shortCut(path, leaf.shortCut);
        }
    }
    return product;
}

const std::vector<std::string> branches = {"VorlaneFX", "Content", "Hosts/Edius/Blur", "Hosts/Edius/Glow",
                                           "Hosts/OpenFX/Blur"};

/// Adds a leaf or takes it away.
void changeLeaf(Random& random, Build& build) {
    static const std::vector<std::string> names = {"one.fx",          "two.fx",   "inner/two.fx",
                                                   "inner/three.fx",  "kind",     "kind/child",
                                                   "kind/deep/child", "Tool.app", "Other.bundle"};
    const std::string branch = oneOf(random, branches);
    const std::string path = branch + "/" + oneOf(random, names);
    if (build.leaves.erase(path) != 0 && happens(random, 70)) {
        return;
    }
    Leaf leaf;
    const bool bKind = path == branch + "/kind";
    if (bKind) {
        build.leaves.erase(path + "/child");
        build.leaves.erase(path + "/deep/child");
        // Without a manifest nothing but its name tells that a file is a folder.
        leaf.kind = build.bManifest && happens(random, 30) ? Kind::Bundle
                    : happens(random, 50)                  ? Kind::Whole
                                                           : Kind::File;
    } else if (path.find("/kind/") != std::string::npos) {
        build.leaves.erase(branch + "/kind");
    } else if (path.find(".app") != std::string::npos || path.find(".bundle") != std::string::npos) {
        leaf.kind = Kind::Bundle;
    }
    if (leaf.kind != Kind::File) {
        leaf.inside = {"Contents/always"};
        for (const char* name : {"Contents/one", "Contents/deep/two", "three", "child"}) {
            if (happens(random, 40)) {
                leaf.inside.insert(name);
            }
        }
    }
    for (const char* flag : {"dontdelete", "allowdowngrade", "ignoreinstallerrors"}) {
        if (happens(random, 8)) {
            leaf.flags[flag] = "1";
        }
    }
    // Where a file goes on every machine, so that its shortcut does not depend on the machine.
    const bool bEverywhere = branch == "VorlaneFX" || branch == "Content";
    if (bEverywhere && leaf.kind != Kind::Whole && happens(random, 15)) {
        leaf.shortCut = happens(random, 50) ? "Vorlane Tool" : "Vorlane Help";
    }
    build.leaves[path] = leaf;
}

std::vector<Target> hostTargets(Random& random, bool bConditions) {
    static const std::vector<std::string> conditions = {"", "host", "no host", "marker"};
    std::vector<Target> targets;
    for (const char* folder : {"/Library/Edius/Vorlane %FAMILY%", "/Library/Edius 2/Vorlane %FAMILY%"}) {
        if (happens(random, 55)) {
            targets.push_back({folder, bConditions ? oneOf(random, conditions) : ""});
        }
    }
    return targets;
}

/// Never two items in one folder: what becomes of a build that meets itself is another question.
void chooseTargets(Random& random, Build& build, bool bConditions) {
    build.targets.clear();
    build.targets["VorlaneFX"] = {{"/Library/Application Support/Vorlane", ""}};
    if (happens(random, 10)) {
        build.targets["VorlaneFX"].push_back({"/Library/Vorlane Copy", ""});
    }
    const int content = std::uniform_int_distribution<int>(1, 3)(random);
    if ((content & 1) != 0) {
        build.targets["Content"].push_back({"/Users/%USER%/Movies/Vorlane", ""});
    }
    if ((content & 2) != 0) {
        build.targets["Content"].push_back({"/Library/Vorlane Content", ""});
    }
    if (happens(random, 10)) {
        build.targets["Content/inner"] = {{"/Library/Vorlane Inner", ""}};
    }
    if (happens(random, 4)) {
        build.targets["Content/one.fx"] = {{"/Library/Nowhere", ""}}; // an item takes folders only
    }
    const bool bSwapped = happens(random, 15);
    build.targets["Hosts/Edius"] = bSwapped ? std::vector<Target>{{"/Library/OFX/Vorlane/%FAMILY%", ""}}
                                            : hostTargets(random, bConditions);
    build.targets["Hosts/OpenFX"] = {
        {bSwapped ? "/Library/Edius/Vorlane %FAMILY%" : "/Library/OFX/Vorlane/%FAMILY%", ""}};
    for (const char* item : {"Hosts/Edius", "Hosts/OpenFX", "Content"}) {
        if (build.targets[item].empty() || happens(random, 4)) {
            build.targets.erase(item);
        }
    }
    if (build.targets.count("Content") == 0) {
        build.targets.erase("Content/inner");
        build.targets.erase("Content/one.fx");
    }
}

Build firstBuild(Random& random, bool bConditions) {
    Build build;
    build.bManifest = happens(random, 60);
    build.families = {"Blur", "Glow"};
    build.leaves["VorlaneFX/always"] = {};
    for (int i = 0; i < 7; ++i) {
        changeLeaf(random, build);
    }
    chooseTargets(random, build, bConditions);
    return build;
}

Build nextBuild(Random& random, Build build, bool bConditions) {
    build.number += happens(random, 75) ? 1 : happens(random, 50) ? 0 : -1;
    const int count = std::uniform_int_distribution<int>(0, 3)(random);
    for (int i = 0; i < count; ++i) {
        changeLeaf(random, build);
    }
    for (auto& [path, leaf] : build.leaves) {
        if (leaf.kind != Kind::File && happens(random, 15)) {
            leaf.inside.erase(oneOf(random, leaf.inside));
        }
        if (leaf.kind != Kind::File && (leaf.inside.empty() || happens(random, 15))) {
            // A file may become a folder in there, too, which only a manifest tells.
            const bool bDeeper = build.bManifest && happens(random, 50);
            leaf.inside.insert(bDeeper ? "Contents/one/more" : "Contents/one");
            leaf.inside.erase(bDeeper ? "Contents/one" : "Contents/one/more");
        }
        if (happens(random, 4)) {
            leaf.flags["dontdelete"] = leaf.flags.count("dontdelete") != 0 ? "0" : "1";
        }
        if (happens(random, 4)) {
            leaf.shortCut.clear();
        }
    }
    if (happens(random, 25)) {
        chooseTargets(random, build, bConditions);
    }
    if (happens(random, 5)) {
        build.targets["VorlaneFX"].front().folder = "/Library/Application Support/Vorlane New";
    }
    if (happens(random, 10)) {
        build.families.erase(happens(random, 50) ? "Blur" : "Glow");
    }
    build.name = happens(random, 5) ? "Alpha New" : build.name;
    build.id = happens(random, 5) ? "BETA" : build.id;
    return build;
}

std::string described(const Build& build) {
    std::string text =
        build.id + " " + std::to_string(build.number) + (build.bManifest ? " with manifest" : "") + ":";
    for (const std::string& family : build.families) {
        text += " " + family;
    }
    for (const auto& [path, leaf] : build.leaves) {
        text += "\n  " + path +
                (leaf.kind == Kind::Whole    ? "/"
                 : leaf.kind == Kind::Bundle ? " as a bundle"
                                             : "");
        for (const auto& [name, value] : leaf.flags) {
            text += " " + name + "=" + value;
        }
        text += leaf.shortCut.empty() ? "" : " (" + leaf.shortCut + ")";
        for (const std::string& name : leaf.inside) {
            text += " [" + name + "]";
        }
    }
    for (const auto& [item, targets] : build.targets) {
        for (const Target& target : targets) {
            text += "\n  " + item + " to " + target.folder +
                    (target.condition.empty() ? "" : " if " + target.condition);
        }
    }
    return text + "\n";
}

// What follows from what is said

std::string onThisMachine(std::string path) {
    const std::string placeholder = "%USER%";
    const std::size_t at = path.find(placeholder);
    return at == std::string::npos ? path : path.replace(at, placeholder.size(), "anna");
}

DiskContent atOrBelow(const DiskContent& disk, const std::string& path) {
    DiskContent found;
    for (const auto& [each, content] : disk) {
        if (each == path || each.rfind(path + "/", 0) == 0) {
            found[each] = content;
        }
    }
    return found;
}

void erase(DiskContent& disk, const DiskContent& what) {
    for (const auto& [path, content] : what) {
        disk.erase(path);
    }
}

bool isFileAbove(const DiskContent& disk, std::string path) {
    while ((path = path.substr(0, path.rfind('/'))).size() > 1) {
        if (disk.count(path) != 0) {
            return true;
        }
    }
    return false;
}

/// Products bring no links: each is a shortcut, which is told by itself, also one that has come to lie in a
/// folder.
DiskContent withoutLinks(DiskContent disk) {
    for (auto each = disk.begin(); each != disk.end();) {
        each = each->second.rfind("-> ", 0) == 0 ? disk.erase(each) : std::next(each);
    }
    return disk;
}

/// Changes what the new build alone gives as one difference about a shortcut says. A link that has come to
/// lie in a folder goes when the folder is then copied as one piece and brings a file of that name. No
/// definition lists such files, so `after` tells which of the two it is.
void applyToLinks(const Json& difference, const DiskContent& old, const DiskContent& after,
                  DiskContent& disk) {
    const std::string state = difference["state"];
    const std::string path = difference["path"];
    if (state == "missing") {
        disk.erase(onThisMachine(path));
        return;
    }
    if (state == "misplaced") {
        const std::string at = onThisMachine(difference["at"]);
        const DiskContent brought = withoutLinks(atOrBelow(disk, at));
        if (brought.empty() || brought != atOrBelow(after, at)) {
            disk[at] = "-> " + onThisMachine(difference["leadsTo"]);
        }
    }
    disk[path] = state == "old" ? "-> " + onThisMachine(difference["leadsInstead"]) : old.at(path);
}

/// The same of any other difference. False when it does not concern this machine.
bool applyToFiles(const Json& difference, const DiskContent& old, const DiskContent& alone,
                  DiskContent& disk) {
    const std::string state = difference["state"];
    const std::string path = onThisMachine(difference["path"]);
    const DiskContent before = withoutLinks(atOrBelow(old, path));
    const DiskContent now = withoutLinks(atOrBelow(alone, path));
    if (state == "left" || state == "mixed") {
        DiskContent left = before;
        erase(left, alone);
        disk.insert(left.begin(), left.end());
        return !left.empty();
    }
    if (state == "missing") {
        const bool bInTheWay = isFileAbove(old, path);
        if (bInTheWay) {
            erase(disk, now);
        }
        return bInTheWay && !now.empty();
    }
    if (before.empty() || now.empty()) {
        return false;
    }
    if (state == "misplaced") {
        disk[onThisMachine(difference["at"])] = now.begin()->second;
    }
    erase(disk, now);
    disk.insert(before.begin(), before.end());
    return true;
}

bool isAboutLink(const Json& difference) {
    const std::string path = difference["path"];
    return difference.contains("leadsTo") ||
           (path.rfind("/Applications/", 0) == 0 && path.find("Uninstall ") == std::string::npos);
}

class RandomCompare : public EndToEndTest {
protected:
    bool comparesPlans() const override { return false; }

    void SetUp() override {
        EndToEndTest::SetUp();
        if (!IsSkipped() && !PrivateRoot::hasInspector()) {
            GTEST_SKIP() << "there is no inspector";
        }
    }

    void clearMachine() {
        for (const char* folder : {"/Applications", "/Library", "/Users"}) {
            root().remove(folder);
            root().makeFolder(folder);
        }
        root().makeFolder("/Users/anna/Library/Preferences");
        if (machineKind != "bare") {
            root().makeFolder(host);
        }
        if (machineKind == "marker") {
            root().write(marker, "");
        }
    }

    /// Writes the product to a folder of its own, since both are read at the same time.
    std::string place(const Build& build, const std::string& which) {
        const std::string folder = "/Volumes/Installer/" + which;
        builderOf(build).writeTo(root().outside(folder));
        if (build.bManifest) {
            const auto result = runProgram({INSTALLINSPECTOR_PROGRAM, "update", "--manifest", "--source",
                                            root().outside(folder + "/files").string(),
                                            root().outside(folder + "/sku.xml").string()});
            EXPECT_NE(result.exitStatus, 2) << result.standardError;
        }
        return folder;
    }

    ProgramResult install(const std::string& folder) {
        return root().run(
            {PrivateRoot::program, folder + "/files", folder + "/sku.xml", folder + "/target_path.xml"});
    }

    DiskContent disk() {
        DiskContent disk = diskContentOf(root());
        for (auto each = disk.begin(); each != disk.end();) {
            each = each->first.find(recordName) == std::string::npos ? std::next(each) : disk.erase(each);
        }
        return disk;
    }

    void comparePair() {
        random.seed(seed);
        const bool bConditions = happens(random, 60);
        static const std::vector<std::string> machines = {"bare", "host", "marker"};
        machineKind = oneOf(random, machines);
        const Build old = firstBuild(random, bConditions);
        const Build now = nextBuild(random, old, bConditions);
        const testing::ScopedTrace trace(__FILE__, __LINE__,
                                         "seed " + std::to_string(seed) + ", " + machineKind + "\n" +
                                             described(old) + described(now));
        const std::string oldFolder = place(old, "Old");
        const std::string newFolder = place(now, "New");
        const ProgramResult said = root().run(
            {PrivateRoot::inspector, "compare", "--json", oldFolder + "/sku.xml", newFolder + "/sku.xml",
             "--targets", oldFolder + "/target_path.xml", newFolder + "/target_path.xml"});
        ASSERT_TRUE(said.exitStatus == 0 || said.exitStatus == 1) << said.standardError;
        const Json foretold = Json::parse(said.standardOutput);
        EXPECT_EQ(foretold["verdict"] == "safe", said.exitStatus == 0);

        clearMachine();
        install(newFolder);
        const DiskContent alone = disk();
        clearMachine();
        install(oldFolder);
        const DiskContent before = disk();
        install(newFolder);
        const DiskContent after = disk();
        judge(foretold, before, alone, after, bConditions);
        if (!HasFailure() && foretold["verdict"] == "safe") {
            expectNothingIsLeft(now, newFolder, alone);
        }
    }

    void judge(const Json& foretold, const DiskContent& before, const DiskContent& alone,
               const DiskContent& after, bool bConditions) {
        DiskContent expected = alone;
        for (const Json& difference : foretold["differences"]) {
            if (isAboutLink(difference)) {
                applyToLinks(difference, before, after, expected);
            } else {
                const bool bApplies = applyToFiles(difference, before, alone, expected);
                // Only conditions, and what no definition tells, leave it open.
                EXPECT_TRUE(bApplies || bConditions || difference["state"] == "mixed") << difference;
            }
            EXPECT_TRUE(foretold["verdict"] == "harm" || difference["state"] == "mixed") << difference;
            ++states[difference["state"]];
        }
        EXPECT_EQ(expected, after) << foretold["differences"].dump(1);
        if (after != alone) {
            EXPECT_NE(foretold["verdict"], "safe");
            ++updatesThatDiffer;
        }
        ++verdicts[foretold["verdict"]];
        for (const Json& finding : foretold["findings"]) {
            ++rules[finding["rule"]];
        }
    }

    /// An uninstall leaves what is marked to stay, and nothing else.
    void expectNothingIsLeft(const Build& build, const std::string& folder, const DiskContent& alone) {
        root().run({PrivateRoot::program, "-uninstall", folder + "/sku.xml", folder + "/target_path.xml"});
        std::set<std::string> staying;
        for (const auto& [path, leaf] : build.leaves) {
            const auto flag = leaf.flags.find("dontdelete");
            if (flag != leaf.flags.end() && flag->second == "1") {
                staying.insert(build.contentOf(path));
                for (const std::string& name : leaf.inside) {
                    staying.insert(build.contentOf(path + "/" + name));
                }
            }
        }
        for (const auto& [path, content] : disk()) {
            const bool bProduct = alone.count(path) != 0 && path.back() != '/' && path != marker;
            const bool bLink = content.rfind("-> ", 0) == 0;
            EXPECT_TRUE(!bProduct || staying.count(content) != 0 || (bLink && !staying.empty())) << path;
        }
    }

    Random random;
    unsigned seed = 0;
    std::string machineKind; ///< "bare", "host" or "marker"
    int updatesThatDiffer = 0;
    std::map<std::string, int> verdicts;
    std::map<std::string, int> states;
    std::map<std::string, int> rules;
};

} // namespace

// Set PROPERTY_SEED to the seed of a failure to see its pair first, and PROPERTY_SEQUENCES for so many of
// them. The short form always takes the same pairs. The long form looks for new ones.
TEST_F(RandomCompare, SaysWhatAnUpdateLeavesOnTheDisk) {
    const unsigned first =
        numberInEnvironment("PROPERTY_SEED", isFullRun() ? std::random_device()() % 1000000 : 1);
    const unsigned wanted = numberInEnvironment("PROPERTY_SEQUENCES", isFullRun() ? 1000 : 6);
    for (seed = first; seed < first + wanted && !HasFailure(); ++seed) {
        comparePair();
    }
    std::cout << "figures: " << seed - first << " random pairs of builds from seed " << first << ", "
              << updatesThatDiffer
              << " in which an update leaves something else than the new build alone; verdicts: "
              << listedCounts(verdicts) << "; " << listedCounts(states) << std::endl;
    std::cout << "rules: " << listedCounts(rules) << std::endl;
    EXPECT_GT(updatesThatDiffer, 0);
}
