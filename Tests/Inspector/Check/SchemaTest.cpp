// The schemas of Schemas/ against the readers, the rules of "check", the examples, and typical mistakes.
#include "Tests/Inspector/Check/RuleExamples.h"
#include "Tests/Support/FileTree.h"
#include "Tests/Support/SchemaCheck.h"
#include "Tests/Support/Sources.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallInspector/Documents/Vocabulary.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

const char* const definitionSchema = "sku.xsd";
const char* const targetsSchema = "target_path.xsd";
const char* const recordSchema = "InstallationStatusFile.xsd";

std::string nameOf(const TiXmlElement& element) {
    const char* name = element.Attribute("name");
    return name == nullptr ? "" : name;
}

/// Calls `visit` with each element of the schema, parents first.
void forEachElement(const TiXmlElement& element, const std::function<void(const TiXmlElement&)>& visit) {
    visit(element);
    for (const TiXmlElement* child = element.FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        forEachElement(*child, visit);
    }
}

void forEachElementOf(const char* schema, const std::function<void(const TiXmlElement&)>& visit) {
    TiXmlDocument document;
    ASSERT_TRUE(document.LoadFile(inSources(std::string("Schemas/") + schema).c_str()))
        << document.ErrorDesc();
    forEachElement(*document.RootElement(), visit);
}

/// The names that the schema declares by that kind of element ("xs:attribute").
Names declared(const char* schema, const char* kind) {
    Names names;
    forEachElementOf(schema, [&](const TiXmlElement& element) {
        if (element.ValueStr() == kind && !nameOf(element).empty()) {
            names.insert(nameOf(element));
        }
    });
    return names;
}

Names valuesOf(const char* schema, const char* type) {
    Names values;
    forEachElementOf(schema, [&](const TiXmlElement& element) {
        if (nameOf(element) == type) {
            forEachElement(element, [&](const TiXmlElement& inner) {
                if (inner.ValueStr() == "xs:enumeration") {
                    values.insert(inner.Attribute("value"));
                }
            });
        }
    });
    return values;
}

Names setOf(const std::vector<std::string>& list) {
    return {list.begin(), list.end()};
}

class SchemaTest : public testing::Test {
protected:
    void SetUp() override {
        if (!SchemaCheck::whyNot().empty()) {
            GTEST_SKIP() << SchemaCheck::whyNot();
        }
    }
};

std::string without(const char* mark, std::string text) {
    for (std::size_t found = text.find(mark); found != std::string::npos; found = text.find(mark)) {
        text.erase(found, std::string(mark).size());
    }
    return text;
}

void expectRefused(const char* schema, const std::string& text) {
    EXPECT_NE(SchemaCheck::mistakesInText(schema, text), "") << text;
}

std::string record(const std::string& products, const std::string& files) {
    return "<install><products>" + products + "</products><installFiles>" + files +
           "</installFiles></install>";
}

} // namespace

TEST(Schemas, DescribeEveryElementAndAttribute) {
    for (const char* schema : {definitionSchema, targetsSchema, recordSchema}) {
        int described = 0;
        forEachElementOf(schema, [&](const TiXmlElement& element) {
            if (element.ValueStr() != "xs:element" && element.ValueStr() != "xs:attribute") {
                return;
            }
            const TiXmlElement* note = element.FirstChildElement("xs:annotation");
            const TiXmlElement* text =
                note == nullptr ? nullptr : note->FirstChildElement("xs:documentation");
            const bool bDescribed = text != nullptr && text->GetText() != nullptr;
            EXPECT_TRUE(bDescribed) << schema << " line " << element.Row() << " " << nameOf(element);
            described += bDescribed ? 1 : 0;
        });
        EXPECT_GT(described, 8) << schema;
    }
}

TEST(Schemas, HaveTheElementsAndAttributesThatAreRead) {
    const std::map<const char*, Kind> roots = {
        {definitionSchema, Kind::Product}, {targetsSchema, Kind::Root}, {recordSchema, Kind::Install}};
    for (const auto& [schema, root] : roots) {
        Names elements;
        Names attributes;
        for (const ElementFormat& format : elementFormats()) {
            if (rootOf(format.kind) == root) {
                elements.insert(format.name);
                attributes.insert(format.attributes.begin(), format.attributes.end());
            }
        }
        EXPECT_EQ(declared(schema, "xs:element"), elements) << schema;
        EXPECT_EQ(declared(schema, "xs:attribute"), attributes) << schema;
    }
}

TEST(Schemas, OfferTheKnownNames) {
    EXPECT_EQ(valuesOf(definitionSchema, "knownHost"), setOf(hostNames()));
    Names withVariants;
    for (const std::string& host : hostNames()) {
        withVariants.insert({host, host + "32"});
    }
    EXPECT_EQ(valuesOf(targetsSchema, "knownHost"), withVariants);
    EXPECT_EQ(valuesOf(targetsSchema, "knownConditionType"), setOf(conditionNames()));
    EXPECT_EQ(valuesOf(definitionSchema, "branch"), setOf(branchNames()));
    EXPECT_EQ(valuesOf(targetsSchema, "branch"), setOf(branchNames()));
}

TEST_F(SchemaTest, TheExamplesAreValid) {
    std::vector<fs::path> definitions = {inSources("Examples/Common/files/VorlaneFX/SKU/COMMON.xml")};
    std::vector<fs::path> targets;
    for (const auto& product : fs::directory_iterator(inSources("Examples"))) {
        if (fs::exists(product.path() / "sku.xml")) {
            definitions.push_back(product.path() / "sku.xml");
            targets.push_back(product.path() / "target_path.xml");
        }
    }
    EXPECT_GT(targets.size(), 2U);
    EXPECT_EQ(SchemaCheck::mistakes(definitionSchema, definitions), "");
    EXPECT_EQ(SchemaCheck::mistakes(targetsSchema, targets), "");
}

bool ignoresSomething(const std::vector<Edit>& edits) {
    return std::any_of(edits.begin(), edits.end(), [](const Edit& edit) {
        return edit.to.find("inspector: ignore") != std::string::npos;
    });
}

/// A schema that complains where "check" does not would be switched off in the editor. It knows nothing of
/// what is to be ignored.
TEST_F(SchemaTest, WhatCheckFindsNothingInIsValid) {
    const TemporaryDirectory folder;
    std::vector<fs::path> definitions;
    std::vector<fs::path> targets;
    for (const Example& example : allExamples()) {
        if (InspectedProduct(example.good).findings.empty() && !ignoresSomething(example.good)) {
            const fs::path place = folder.path() / std::to_string(definitions.size());
            definitions.push_back(place / "sku.xml");
            FileTree::write(definitions.back(), without("@@", InspectedProduct::definition(example.good)));
            targets.push_back(place / "target_path.xml");
            FileTree::write(targets.back(), without("@@", InspectedProduct::targets(example.good)));
        }
    }
    EXPECT_GT(definitions.size(), 40U);
    EXPECT_EQ(SchemaCheck::mistakes(definitionSchema, definitions), "");
    EXPECT_EQ(SchemaCheck::mistakes(targetsSchema, targets), "");
}

TEST_F(SchemaTest, ADocumentThatNamesItsSchemaIsValidAndHasNoFindings) {
    const std::string schema = " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                               "xsi:noNamespaceSchemaLocation=\"";
    const std::vector<Edit> edits = {{Edit::Definition, "<product>", "<product" + schema + "sku.xsd\">"},
                                     {Edit::Targets, "<root>", "<root" + schema + "target_path.xsd\">"}};
    EXPECT_EQ(SchemaCheck::mistakesInText(definitionSchema, InspectedProduct::definition(edits)), "");
    EXPECT_EQ(SchemaCheck::mistakesInText(targetsSchema, InspectedProduct::targets(edits)), "");
    for (const Finding& finding : InspectedProduct(edits).findings) {
        ADD_FAILURE() << finding.rule << ": " << finding.message;
    }
}

TEST_F(SchemaTest, TypicalMistakesInADefinitionAreNotValid) {
    const char* const greyEntry = "<file fileName=\"Grey.look\"/>";
    for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
             {"<product>", "<Product>"},
             {"</families>", "</family>"},
             {" ID=\"ALPHA\"", ""},
             {"ID=\"ALPHA\"", "ID=\"\""},
             {" name=\"Alpha\"", ""},
             {"name=\"Alpha\"", "name=\"In/Out\""},
             {" build=\"1.0.0.100\"", ""},
             {"1.0.0.100", "1.0.100"},
             {"1.0.0.100", "1.0.0.0"},
             {"1.0.0.100", "1.0.0.100-beta"},
             {"<sku ID", "<sku id"},
             {"<families>", "<families/><families>"},
             {"<hosts>", "<Hosts/><hosts>"},
             {"<family name", "<family Name"},
             {"<plugins><plugin name=\"Glow One\"/></plugins>", ""},
             {"<plugins><plugin name=\"Glow One\"/></plugins>", "<plugins/>"},
             {"<plugin name=\"Glow One\"/>", "<plugin/>"},
             {"</families>",
              "<family name=\"Glow\"><plugins><plugin name=\"p\"/></plugins></family></families>"},
             {"1FFFFFFFF", "1FFFFFFFG"},
             {"</hosts>", "<host name=\"Edius\"/></hosts>"},
             {"arch=\"x64\"", "arch=\"arm64\""},
             {"arch=\"x64\"", "arch=\"x86,x64\""},
             {"<directory fileName=\"Content\">", "<directory fileName=\"content\">"},
             {"</installFiles>", "<file fileName=\"a\"/></installFiles>"},
             {"</installFiles>", "<directory fileName=\"Content\"/></installFiles>"},
             {greyEntry, "<file/>"},
             {greyEntry, "<file fileName=\"\"/>"},
             {greyEntry, "<file name=\"Grey.look\"/>"},
             {greyEntry, "<folder fileName=\"Grey\"/>"},
             {greyEntry, "<file fileName=\"Looks/Grey.look\"/>"},
             {greyEntry, "<file fileName=\"..\"/>"},
             {greyEntry, "<file fileName=\"$Grey.look\"/>"},
             {greyEntry, "<file fileName=\"a&quot;b\"/>"},
             {greyEntry, "<file fileName=\"a`b\"/>"},
             {greyEntry, "<file fileName=\"a\\b\"/>"},
             {greyEntry, "<file fileName=\"" + std::string(256, 'a') + "\"/>"},
             {greyEntry, std::string(greyEntry) + greyEntry},
             {greyEntry, std::string(greyEntry) + "<directory fileName=\"Grey.look\"/>"},
             {greyEntry, "<file fileName=\"Grey.look\" dontdelete=\"true\"/>"},
             {greyEntry, "<file fileName=\"Grey.look\" ignoreinstallerrors=\"yes\"/>"},
             {greyEntry, "<file fileName=\"Grey.look\" allowdowngrade=\"\"/>"},
             {greyEntry, "<file fileName=\"Grey.look\" dontDelete=\"1\"/>"},
             {greyEntry, "<file fileName=\"Grey.look\" size=\"-1\"/>"},
             {greyEntry, "<file fileName=\"Grey.look\" sha256=\"abc\"/>"},
             {greyEntry, "<file fileName=\"G\"><part size=\"1\"/></file>"},
             {greyEntry, "<exclude name=\"*\"/>" + std::string(greyEntry)},
             {greyEntry, "text" + std::string(greyEntry)},
             {" dir=\"/Applications\"", ""},
             {"dir=\"/Applications\"", "dir=\"/Desktop\""},
             {"<shortCut name=\"Guide.html\"", "<shortCut"},
             {"<shortCut ", "<shortcut "},
         }) {
        SCOPED_TRACE(to);
        expectRefused(definitionSchema, InspectedProduct::definition({{Edit::Definition, from, to}}));
    }
}

TEST_F(SchemaTest, TypicalMistakesInTargetPathsAreNotValid) {
    const char* const content = "<path value=\"/Users/Shared/Vorlane\"/>";
    const char* const condition = "<condition type=\"PathExist\" value=\"/Applications/Edius.app\"/>";
    for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
             {"<root>", "<targets>"},
             {"<root>", "<root><path value=\"/a\"/>"},
             {"<item name=\"Content\">", "<item>"},
             {"<item name=\"Content\">", "<item name=\"Contents\">"},
             {"<item name=\"Content\">", "<item name=\"Content\"/><item name=\"Content\">"},
             {"<item name=\"Edius\">", "<item name=\"Edius\"/><item name=\"Edius\">"},
             {"<item name=\"Edius\">", "<Item name=\"Edius\"/><item name=\"Edius\">"},
             {content, "<path/>"},
             {content, "<path value=\"\"/>"},
             {content, "<path name=\"/Users\"/>"},
             {content, "<path value=\"Users/Shared\"/>"},
             {content, "<path value=\"~/Vorlane\"/>"},
             {content, "<path value=\"%USER%/Vorlane\"/>"},
             {content, "<path value=\"$HOME/Vorlane\"/>"},
             {content, "<path value=\"/Vorlane/%HOME%\"/>"},
             {content, "<path value=\"/Vorlane/%family%\"/>"},
             {content, "<path value=\"/Vorlane/100%\"/>"},
             {content, "<path value=\"%REGKEY:Content%/Vorlane\"/>"},
             {content, "<path value=\"%REGKEY:Content::%/Vorlane\"/>"},
             {condition, std::string(condition) + condition},
             {condition, "<condition value=\"/a\"/>"},
             {condition, "<condition type=\"PathExists\" value=\"/a\"/>"},
             {condition, "<condition type=\"Path Exist\" value=\"/a\"/>"},
             {condition, "<condition type=\"PathExist\" value=\"\"/>"},
             {condition, "<condition type=\"PathExist\" value=\"Applications\"/>"},
             {condition, "<condition type=\"PathExist\" value=\"/a/%FAMILY%\"/>"},
             {condition, "<condition type=\"RegKeyExist\" value=\"Edius::Folder\"/>"},
             {condition, "<condition type=\"And\"><Condition type=\"Or\"/></condition>"},
         }) {
        SCOPED_TRACE(to);
        expectRefused(targetsSchema, InspectedProduct::targets({{Edit::Targets, from, to}}));
    }
}

TEST_F(SchemaTest, DamageToARecordIsNotValid) {
    const std::string sku = "<sku ID=\"A\" name=\"Alpha\" build=\"1.0.0.1\"/>";
    const std::string file = "<file fileName=\"f\" ref=\"1\" build=\"1.0.0.1\"/>";
    EXPECT_EQ(SchemaCheck::mistakesInText(recordSchema, record(sku, file)), "");
    for (const std::string& text : {
             std::string("<install/>"),
             record(sku + sku, file),
             record("<sku ID=\"A\" name=\"Alpha\"/>", file),
             record(sku, file + file),
             record(sku, file + "<directory fileName=\"f\" ref=\"1\"/>"),
             record(sku, "<file fileName=\"f\" ref=\"0\" build=\"1\"/>"),
             record(sku, "<file fileName=\"f\" ref=\"-1\" build=\"1\"/>"),
             record(sku, "<file fileName=\"f\" ref=\"two\" build=\"1\"/>"),
             record(sku, "<file fileName=\"f\" ref=\"4294967296\" build=\"1\"/>"),
             record(sku, "<file fileName=\"f\" ref=\"1\"/>"),
             record(sku, "<file fileName=\"f\" build=\"1\"/>"),
             record(sku, "<file fileName=\"a/b\" ref=\"1\" build=\"1\"/>"),
             record(sku, "<file ref=\"1\" build=\"1\"/>"),
             record(sku, "<directory fileName=\"\" ref=\"1\"/>"),
             record(sku, "<directory fileName=\"d\" ref=\"1\"><shortCut name=\"a\" dir=\"b\"/></directory>"),
             record(sku, "<file fileName=\"f\" ref=\"1\" build=\"1\"><shortCut name=\"a\"/></file>"),
             record(sku, file).substr(0, 60),
         }) {
        expectRefused(recordSchema, text);
    }
}
