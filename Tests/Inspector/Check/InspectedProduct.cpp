#include "Tests/Inspector/Check/InspectedProduct.h"

#include "Foundation/FileLibrary.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Check/Suppressions.h"

#include <gtest/gtest.h>

namespace {

const char* const cleanDefinition = R"(<?xml version="1.0" encoding="UTF-8"?>
<product>
  <sku ID="ALPHA" name="Alpha" build="1.0.0.100" prefix="A"/>
  <families>
    <family name="Glow">
      <plugins><plugin name="Glow One"/></plugins>
      <contents><content name="Looks"/></contents>
      <featuresmask name="1FFFFFFFF"/>
      <contentmask name="*.look"/>
    </family>
  </families>
  <hosts>
    <host name="Edius" families="Glow" arch="x64" compilerOptions="-O2"/>
  </hosts>
  <installFiles>
    <directory fileName="Hosts">
      <directory fileName="Edius">
        <directory fileName="Glow">
          <file fileName="Glow.plugin" ignoreinstallerrors="1"/>
        </directory>
      </directory>
    </directory>
    <directory fileName="VorlaneFX">
      <directory fileName="Looks">
        <file fileName="Grey.look"/>
      </directory>
      <file fileName="Guide.html">
        <shortCut name="Guide.html" dir="/Applications"/>
      </file>
    </directory>
    <directory fileName="Content">
      <file fileName="Paper.txt" arch="x86"/>
    </directory>
  </installFiles>
</product>
)";

const char* const cleanTargets = R"(<?xml version="1.0" encoding="UTF-8"?>
<root>
  <item name="VorlaneFX">
    <path value="/Library/Application Support/Vorlane"/>
    <item name="Looks">
      <path value="/Users/%USER%/Vorlane/Looks"/>
    </item>
  </item>
  <item name="Hosts">
    <item name="Edius">
      <path value="/Library/Edius/%FAMILY%">
        <condition type="PathExist" value="/Applications/Edius.app"/>
      </path>
      <path value="%REGKEY:Hosts/Edius::Folder%/Vorlane">
        <condition type="RegKeyExist" value="%REGKEY:Hosts/Edius::Folder%"/>
      </path>
    </item>
  </item>
  <item name="Content">
    <path value="/Users/Shared/Vorlane"/>
  </item>
</root>
)";

std::string edited(std::string text, Edit::File file, const std::vector<Edit>& edits) {
    for (const Edit& edit : edits) {
        if (edit.file != file) {
            continue;
        }
        if (edit.from.empty()) {
            text = edit.to;
            continue;
        }
        const std::size_t found = text.find(edit.from);
        EXPECT_NE(found, std::string::npos) << edit.from;
        EXPECT_EQ(text.find(edit.from, found + 1), std::string::npos) << edit.from;
        if (found != std::string::npos) {
            text.replace(found, edit.from.size(), edit.to);
        }
    }
    return text;
}

std::string withoutMarks(std::string text, Edit::File file, std::vector<Place>& places) {
    for (std::size_t mark = text.find("@@"); mark != std::string::npos; mark = text.find("@@", mark)) {
        text.erase(mark, 2);
        const std::string before = text.substr(0, mark);
        Place place = {file, 1, 1};
        for (const char c : before) {
            place.line += c == '\n' ? 1 : 0;
            place.column = c == '\n' ? 1 : place.column + 1;
        }
        places.push_back(place);
    }
    return text;
}

} // namespace

std::string InspectedProduct::definition(const std::vector<Edit>& edits) {
    return edited(cleanDefinition, Edit::Definition, edits);
}

std::string InspectedProduct::targets(const std::vector<Edit>& edits) {
    return edited(cleanTargets, Edit::Targets, edits);
}

InspectedProduct::InspectedProduct(const std::vector<Edit>& edits) {
    const TemporaryDirectory folder;
    const auto write = [&](const char* name, const std::string& text) {
        EXPECT_TRUE(FileLibrary::writeFile(toVLString(text), folder / name, false));
        return (folder.path() / name).string();
    };
    Product product;
    std::string error;
    EXPECT_TRUE(product.definitionFile.read(
        write("sku.xml", withoutMarks(definition(edits), Edit::Definition, marked)),
        Location::Document::Definition, Kind::Product, error));
    product.bTargets = product.targetsFile.read(
        write("target_path.xml", withoutMarks(targets(edits), Edit::Targets, marked)),
        Location::Document::Targets, Kind::Root, error);
    EXPECT_TRUE(product.bTargets);
    product.interpret();
    const auto hosts = hostsInComments(product);
    product.ownHosts.insert(hosts.begin(), hosts.end());
    findings = checkProduct(product);
}

std::vector<Finding> InspectedProduct::findingsOf(const std::string& rule) const {
    std::vector<Finding> found;
    for (const Finding& finding : findings) {
        if (finding.rule == rule) {
            found.push_back(finding);
        }
    }
    return found;
}
