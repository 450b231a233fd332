// Compares the content of the installed files with the manifests in the definitions of the products.
#include "Foundation/Machine.h"
#include "Foundation/VLVersion.h"
#include "Utility/InstallInspector/Documents/FolderAbove.h"
#include "Utility/InstallInspector/Documents/LeftOut.h"
#include "Utility/InstallInspector/Documents/Manifest.h"
#include "Utility/InstallInspector/Status/Status.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <optional>
#include <sys/stat.h>
#include <utility>

namespace {

using Difference = Manifest::Difference;
using Fault = Status::ContentFault;
using Spot = PlacedProduct::Spot;

std::int32_t numberOf(const VLString& build) {
    return VLVersion(build).build;
}

std::string buildOf(const PlacedProduct& product) {
    return "the build " + printableText(product.info().build) + " of " + quoted(product.info());
}

bool isBelow(const std::string& path, const std::string& folder) {
    return folder.empty() || isAtOrBelow(path, folder);
}

/// What one product expects at one path on this machine.
class Claim {
public:
    Claim(const PlacedProduct& claimant, const Spot& claimed, const Record::Node* recordedNode,
          bool bIsCompared)
        : product(&claimant), spot(&claimed), recorded(recordedNode), bCompared(bIsCompared),
          manifest(Manifest::of(*claimed.node->element)) {}

    const PlacedProduct* product;
    const Spot* spot;
    const Record::Node* recorded; ///< null if the path is not in the record
    bool bCompared;               ///< if false, it only helps to find out which file this is
    bool bBuildOfAnother = false; ///< whether another product in the record has the recorded build

    bool hasManifest() const { return !manifest.empty(); }
    std::size_t size() const { return manifest.size(); }
    std::int32_t number() const { return numberOf(product->info().build); }
    bool isRecordedBuild() const {
        return recorded != nullptr && recorded->recorded->build == product->info().build;
    }

    const std::vector<Difference>& compare(const std::string& path, Progress& progress) {
        if (!differences.has_value()) {
            differences = Manifest::compare(manifest, path, progress);
        }
        return *differences;
    }

    /// Whether the manifest has this part, and the part on this machine is equal.
    bool agrees(const std::string& part, const std::string& path, Progress& progress) {
        const auto found =
            std::lower_bound(manifest.begin(), manifest.end(), part,
                             [](const auto& one, const auto& name) { return one.path < name; });
        if (found == manifest.end() || found->path != part) {
            return false;
        }
        const auto& all = compare(path, progress);
        return std::none_of(all.begin(), all.end(),
                            [&](const Difference& difference) { return isBelow(part, difference.path); });
    }

private:
    Manifest::Parts manifest;
    std::optional<std::vector<Difference>> differences; ///< no value before the first comparison
};

Fault::Kind kindOf(Difference::Kind kind) {
    switch (kind) {
    case Difference::Kind::Missing:
        return Fault::Kind::Missing;
    case Difference::Kind::Truncated:
        return Fault::Kind::Truncated;
    case Difference::Kind::Changed:
        return Fault::Kind::Changed;
    case Difference::Kind::Foreign:
        return Fault::Kind::Foreign;
    case Difference::Kind::Unreadable:
        break;
    }
    return Fault::Kind::Unreadable;
}

bool isOfContent(Fault::Kind kind) {
    return kind == Fault::Kind::Truncated || kind == Fault::Kind::Changed;
}

/// Compares the file or whole folder at one path with the claims of all products that have it.
class Judgement {
public:
    Judgement(std::string pathOnMachine, std::vector<Claim>& allClaims, Progress& toUpdate)
        : path(std::move(pathOnMachine)), claims(allClaims), progress(toUpdate) {
        for (const bool bExact : {true, false}) {
            for (Claim& claim : claims) {
                if (claim.bCompared && (!bExact || claim.isRecordedBuild())) {
                    ruling.push_back(&claim);
                }
            }
            if (!ruling.empty()) {
                break; // the file there should be that of the recorded build
            }
        }
    }

    /// A product that may have installed the path and has no manifest for it. Null if there is none.
    const PlacedProduct* withoutManifest() const {
        const auto found = std::find_if(ruling.begin(), ruling.end(),
                                        [](const Claim* claim) { return !claim->hasManifest(); });
        return found == ruling.end() ? nullptr : (*found)->product;
    }
    std::size_t files() const { return ruling.front()->size(); }

    std::vector<Fault> faults() {
        std::map<std::string, Fault> found; // by part
        for (Claim* claim : ruling) {
            for (const Difference& difference : claim->compare(path, progress)) {
                const bool bWholeMissing =
                    difference.path.empty() && difference.kind == Difference::Kind::Missing;
                if (bWholeMissing || isRightForSomeProduct(difference)) {
                    continue; // "missing-file" reports what is missing as a whole
                }
                Fault fault = faultOf(difference, *claim);
                const auto known = found.try_emplace(difference.path, fault);
                if (!known.second && known.first->second.kind == Fault::Kind::Foreign) {
                    known.first->second = std::move(fault);
                }
            }
        }
        std::vector<Fault> all;
        all.reserve(found.size());
        for (auto& [part, fault] : found) {
            all.push_back(std::move(fault));
        }
        return isOfUnknownBuild() ? asOneUnknown(all) : all;
    }

private:
    /// Whether the part is the right one for some product. A foreign part may come from any product, because
    /// a copy adds files to a folder and removes none.
    bool isRightForSomeProduct(const Difference& difference) {
        const auto agrees = [&](Claim& claim) { return claim.agrees(difference.path, path, progress); };
        return difference.kind == Difference::Kind::Foreign
                   ? std::any_of(claims.begin(), claims.end(), agrees)
                   : std::any_of(ruling.begin(), ruling.end(), [&](Claim* claim) { return agrees(*claim); });
    }

    Fault faultOf(const Difference& difference, const Claim& claim) {
        const std::string file = difference.path.empty() ? path : path + "/" + difference.path;
        Fault fault{kindOf(difference.kind), file, difference.text, claim.spot->node->treePath,
                    claim.product};
        if (!isOfContent(fault.kind)) {
            return fault;
        }
        for (Claim& other : claims) {
            if (other.agrees(difference.path, path, progress)) {
                fault.text = "is that of " + buildOf(*other.product);
                fault.kind = other.number() < claim.number() ? Fault::Kind::Older : Fault::Kind::Changed;
                return fault;
            }
        }
        if (!claim.isRecordedBuild() && hasBuild(claim) &&
            claim.recorded->recorded->buildNumber < claim.number()) {
            fault.kind = Fault::Kind::Older;
            fault.text = "is not that of " + buildOf(*claim.product) + "; the record has the build " +
                         printableText(claim.recorded->recorded->build);
        }
        return fault;
    }

    static bool hasBuild(const Claim& claim) {
        return claim.recorded != nullptr && !claim.recorded->recorded->isDirectory;
    }

    /// Whether the recorded build is not available: it is newer than all that are, or that of a product that
    /// is not compared.
    bool isOfUnknownBuild() const {
        return std::all_of(ruling.begin(), ruling.end(), [](const Claim* claim) {
            return !claim->isRecordedBuild() && hasBuild(*claim) &&
                   (claim->recorded->recorded->buildNumber > claim->number() || claim->bBuildOfAnother);
        });
    }

    std::vector<Fault> asOneUnknown(std::vector<Fault>& all) const {
        if (all.empty()) {
            return all;
        }
        Fault fault = std::move(all.front());
        if (fault.kind != Fault::Kind::Unreadable) {
            fault.kind = Fault::Kind::UnknownBuild;
            fault.path = path;
            fault.text = "is recorded in the build " +
                         printableText(ruling.front()->recorded->recorded->build) +
                         ", of which no definition is at hand";
        }
        return {std::move(fault)};
    }

    std::string path;
    std::vector<Claim>& claims;
    std::vector<Claim*> ruling; ///< the claims that decide which content is right
    Progress& progress;
};

/// By path on this machine.
using Claims = std::map<std::string, std::vector<Claim>>;

/// The shared package's definition is installed with it, and cannot hold its own digest.
bool isOwnDefinition(const Spot& spot) {
    return spot.node->treePath == VLString(Branch::shared) + "/" + SharedPackage::definitionsFolder + "/" +
                                      SharedPackage::ID + ".xml";
}

bool hasManifest(const PlacedProduct& product) {
    return std::any_of(product.spots().begin(), product.spots().end(),
                       [](const Spot& spot) { return Manifest::isIn(*spot.node->element); });
}

bool isBuildOfAnother(const Status& status, const PlacedProduct& product, const Record::Node* recorded) {
    const auto& products = status.record.content.products;
    return recorded != nullptr && std::any_of(products.begin(), products.end(), [&](const auto& info) {
               return info.build == recorded->recorded->build && !(info.ID == product.info().ID);
           });
}

void addClaims(const Status& status, const PlacedProduct& product, bool bCompared, Claims& claims) {
    const bool bManifest = hasManifest(product);
    for (const Spot& spot : product.spots()) {
        // A manifest has nothing for an empty folder, which is there to be filled.
        const bool bEmptyFolder =
            bManifest && spot.node->node->isDirectory && !Manifest::isIn(*spot.node->element);
        if (!spot.bLeaf || bEmptyFolder || isOwnDefinition(spot)) {
            continue;
        }
        const Record::Node* recorded = status.record.find(spot.node->treePath);
        for (const auto& place : spot.places) {
            const std::string path = toString(place.path);
            if (bCompared || claims.count(path) != 0) {
                claims[path].emplace_back(product, spot, recorded, bCompared);
                claims[path].back().bBuildOfAnother = isBuildOfAnother(status, product, recorded);
            }
        }
    }
}

Claims claimsOf(const Status& status) {
    Claims claims;
    for (const PlacedProduct* product : status.products) {
        addClaims(status, *product, true, claims);
    }
    for (const auto& each : status.installed.all()) {
        const auto& compared = status.products;
        if (each->isReadable() &&
            std::find(compared.begin(), compared.end(), &each->files) == compared.end()) {
            addClaims(status, each->files, false, claims);
        }
    }
    return claims;
}

/// Whether the origin of the foreign file is known. Systems and tools leave it everywhere, it is the record,
/// or a product lists it by its own path.
bool isOriginKnown(const Status& status, const Claims& claims, const Fault& fault,
                   const std::string& folder) {
    if (LeftOut::isJunk(fault.path.substr(fault.path.rfind('/') + 1)) ||
        fault.path.compare(0, status.record.path.size(), status.record.path) == 0) {
        return true;
    }
    for (std::string above = fault.path; above.size() > folder.size(); above.resize(above.rfind('/'))) {
        if (claims.count(above) != 0) {
            return true;
        }
    }
    return false;
}

Status::Condition conditionOf(Fault::Kind kind) {
    switch (kind) {
    case Fault::Kind::Truncated:
        return Status::Condition::Truncated;
    case Fault::Kind::Older:
        return Status::Condition::OlderContent;
    case Fault::Kind::Missing:
    case Fault::Kind::Changed:
        return Status::Condition::OtherContent;
    case Fault::Kind::Foreign:
        return Status::Condition::ForeignContent;
    case Fault::Kind::Unreadable:
    case Fault::Kind::UnknownBuild:
        break;
    }
    return Status::Condition::NotVerified;
}

void addFault(Status& status, Fault fault) {
    if (const Record::Node* recorded = status.record.find(fault.treePath)) {
        Status::Condition& condition = status.conditions[recorded];
        condition = std::max(condition, conditionOf(fault.kind));
    }
    status.contents.faults.push_back(std::move(fault));
}

} // namespace

void verifyContents(Status& status) {
    Claims claims = claimsOf(status);
    Progress progress;
    for (auto& [path, all] : claims) {
        if (Machine::current().linkTypeOf(toVLString(path)) == 0) {
            continue; // "missing-file" reports it
        }
        Judgement judgement(path, all, progress);
        if (const PlacedProduct* product = judgement.withoutManifest()) {
            status.contents.withoutManifest[product].push_back(path);
            continue;
        }
        status.contents.files += judgement.files();
        for (Fault& fault : judgement.faults()) {
            if (fault.kind != Fault::Kind::Foreign || !isOriginKnown(status, claims, fault, path)) {
                addFault(status, std::move(fault));
            }
        }
    }
}

const char* nameOf(Fault::Kind kind) {
    switch (kind) {
    case Fault::Kind::Missing:
        return "missing";
    case Fault::Kind::Truncated:
        return "truncated";
    case Fault::Kind::Older:
        return "older";
    case Fault::Kind::Changed:
        return "changed";
    case Fault::Kind::Foreign:
        return "foreign";
    case Fault::Kind::Unreadable:
        return "unreadable";
    case Fault::Kind::UnknownBuild:
        break;
    }
    return "unknown build";
}
