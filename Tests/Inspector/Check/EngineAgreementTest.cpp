// What the rules say of the engine, asked of the engine itself.
#include "Foundation/FileLibrary.h"
#include "Tests/Inspector/Check/InspectedProduct.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallInspector/Documents/Placeholders.h"
#include "Utility/InstallInspector/Documents/TextScan.h"
#include "Utility/InstallInspector/Documents/Vocabulary.h"
#include "Utility/InstallInspector/Report/NearestName.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/XMLDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

using testing::ElementsAre;
using testing::IsEmpty;
using Condition = InstallUtility::InstallItem::ItemPath::Condition;

namespace {

/// What the engine makes of a definition, as text that changes with everything that it reads.
std::string meaningOf(const std::string& xml) {
    SKUDefinition definition;
    definition.parse(toVLString(xml));
    std::string text = toString(definition.skuInfo.ID + "|" + definition.skuInfo.name + "|" +
                                definition.skuInfo.build + "|" + definition.skuInfo.prefix);
    const auto add = [&text](const char* what, const auto& lists) {
        text += std::string("\n") + what;
        for (const auto& [key, names] : lists) {
            text += " " + toString(key) + "=";
            for (const VLString& name : names) {
                text += toString(name) + ",";
            }
        }
    };
    add("plugins", definition.pluginsByFamily);
    add("contents", definition.contentsByFamily);
    add("hosts", definition.hostFamilies);
    add("build hosts", definition.buildHostFamilies);
    for (const auto& name : definition.hostArchNames) {
        text += " " + toString(name);
    }
    for (const auto& [key, value] : definition.hostCompilerOptions) {
        text += " options " + toString(key + "=" + value);
    }
    for (const auto& [key, value] : definition.contentMaskByFamily) {
        text += " mask " + toString(key + "=" + value);
    }
    for (const auto& [key, bits] : definition.featuresMaskByFamily) {
        text += " features " + toString(key) + std::to_string(bits.Size()) + (bits[0] ? "1" : "0");
    }
    const std::function<void(const FileNode&)> addNode = [&](const FileNode& node) {
        text += "\n" + toString(node.name) + (node.isDirectory ? "/" : "") + std::to_string(node.arch) +
                toString(node.configuration) + (node.dontDelete ? "d" : "") +
                (node.ignoreInstallErrors ? "i" : "") + (node.allowDowngrade ? "a" : "") +
                toString(node.shortCut.name + ">" + node.shortCut.dir) + "{";
        for (const auto& [name, child] : node.children) {
            addNode(child);
        }
        text += "}";
    };
    addNode(definition.installFiles);
    return text;
}

std::string meaningOf(const std::map<VLString, InstallUtility::InstallItem>& items) {
    const std::function<std::string(const Condition&)> textOf = [&](const Condition& condition) {
        std::string text = std::to_string(condition.type) + toString(condition.value) + "(";
        for (const Condition& operand : condition.conditions) {
            text += textOf(operand);
        }
        return text + ")";
    };
    std::string text;
    for (const auto& [name, item] : items) {
        text += toString(name) + "[";
        for (const auto& path : item.paths) {
            text += toString(path.path) + "?" + textOf(path.condition) + ";";
        }
        text += meaningOf(item.items) + "]";
    }
    return text;
}

std::string meaningOfTargets(const std::string& xml) {
    TiXmlDocument document;
    XMLDocument::Parse(toVLString(xml), document);
    std::map<VLString, InstallUtility::InstallItem> items;
    if (TiXmlNode* root = document.FirstChild("root")) {
        InstallUtility::parseXMLwithTargetPathsRecursively(root, items);
    }
    return meaningOf(items);
}

std::string meaningOfRecord(const std::string& xml) {
    const TemporaryDirectory folder;
    const VLString file = folder / "record.xml";
    FileLibrary::writeFile(toVLString(xml), file, false);
    StatusFile record;
    record.parse(file);
    std::string text;
    for (const auto& product : record.products) {
        text += toString(product.ID + "," + product.name + "," + product.build) + "\n";
    }
    const std::function<void(const StatusFile::FileNodeRef&)> addNode = [&](const auto& node) {
        text += toString(node.name) + (node.isDirectory ? "/" : "") + std::to_string(node.ref) +
                toString(node.build + node.shortCut.name + ">" + node.shortCut.dir) + "{";
        for (const auto& [name, child] : node.refChildren) {
            addNode(child);
        }
        text += "}";
    };
    addNode(record.root);
    return text;
}

/// One of each file, in which everything that the vocabulary knows stands once, with a value that makes a
/// difference.
const char* const fullDefinition = R"(<product>
<sku ID="i" name="n" build="1.2.3.4" prefix="p"/>
<families><family name="F"><plugins><plugin name="x"/></plugins><contents><content name="y"/></contents>
<featuresmask name="1"/><contentmask name="m"/></family></families>
<hosts><host name="H" families="F" arch="x86" compilerOptions="o"/></hosts>
<hostsForBuild><host name="B" families="F" arch="x64" compilerOptions="p"/></hostsForBuild>
<installFiles><exclude name="e"/><directory fileName="d" arch="x86" dontdelete="1" ignoreinstallerrors="1" allowdowngrade="1">
<file fileName="f" arch="x86" configuration="c" dontdelete="0" ignoreinstallerrors="0" allowdowngrade="0"
size="1" sha256="2"><part path="p" size="1" sha256="2" link="l"/><shortCut name="s" dir="t"/></file></directory></installFiles></product>)";
const char* const fullTargets = R"(<root><item name="I"><path value="/p">
<condition type="And" value="v"><condition type="Or" value="w"/></condition></path></item></root>)";

const char* const fullRecord = R"(<install><products><sku ID="i" name="n" build="1.2.3.4"/></products>
<installFiles><directory fileName="d" ref="2"><file fileName="f" ref="1" build="1.2.3.4">
<shortCut name="s" dir="t"/></file></directory></installFiles></install>)";

std::string fullText(Kind root) {
    return root == Kind::Product ? fullDefinition : root == Kind::Root ? fullTargets : fullRecord;
}

std::string meaningOf(Kind root, const std::string& xml) {
    return root == Kind::Product ? meaningOf(xml)
           : root == Kind::Root  ? meaningOfTargets(xml)
                                 : meaningOfRecord(xml);
}

/// `xml` with each place where `word` stands followed by `mark` spoilt in turn.
std::vector<std::string> spoilt(const std::string& xml, const std::string& word) {
    std::vector<std::string> texts;
    for (std::size_t at = xml.find(word); at != std::string::npos; at = xml.find(word, at + 1)) {
        std::string text = xml;
        text.insert(at + word.size() - 1, "X");
        texts.push_back(text);
    }
    return texts;
}

} // namespace

TEST(EngineAgreement, EachAttributeOfTheVocabularyIsReadButForOnesOwn) {
    for (const ElementFormat& format : elementFormats()) {
        const Kind root = rootOf(format.kind);
        const std::string xml = fullText(root);
        for (const char* attribute : format.attributes) {
            const std::string element = std::string("<") + format.name + " ";
            SCOPED_TRACE(element + attribute);
            bool bMatters = false;
            for (const std::string& text : spoilt(xml, std::string(" ") + attribute + "=")) {
                const bool bInElement = [&] {
                    const std::size_t changed = text.find(std::string(attribute) + "X=");
                    return text.rfind('<', changed) == text.rfind(element, changed);
                }();
                const bool bDiffers = meaningOf(root, text) != meaningOf(root, xml);
                bMatters = bMatters || (bInElement && bDiffers);
            }
            EXPECT_NE(bMatters, isOwn(format.kind, attribute));
        }
    }
}

TEST(EngineAgreement, TheFamilyIsReplacedBeforePlaceholdersAreFound) {
    const auto texts = [](const VLString& pattern) {
        std::vector<std::string> found;
        for (const Pattern::Placeholder& placeholder : placeholdersIn(pattern, true)) {
            found.push_back(toString(placeholder.text));
        }
        return found;
    };
    EXPECT_THAT(texts("%FAMILY%/%USER%"), ElementsAre("%USER%"));
    EXPECT_THAT(texts("%FAMILY%FAMILY%"), IsEmpty());
    EXPECT_THAT(texts("%X%FAMILY%"), IsEmpty());
    InstallUtility::InstallItem::ItemPath path;
    path.path = "%X%FAMILY%%";
    EXPECT_EQ(InstallUtility::getTargetPaths({path}, "F").front(), VLString("%XF%"));
    EXPECT_THAT(texts("%X%FAMILY%%"), ElementsAre("%X%FAMILY%%"));
}

TEST(EngineAgreement, AStrayAmpersandIsDropped) {
    TiXmlDocument document;
    ASSERT_TRUE(XMLDocument::Parse("<a b='x & y &z; &amp;'/>", document));
    EXPECT_EQ(XMLDocument::Attribute(*document.RootElement(), "b"), VLString("x  y z; &"));
}

TEST(EngineAgreement, AttributesForEditorsAreIgnored) {
    const std::string schema = " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                               "xsi:noNamespaceSchemaLocation=\"sku.xsd\"";
    std::string definition = fullDefinition;
    definition.insert(std::string("<product").size(), schema);
    EXPECT_EQ(meaningOf(definition), meaningOf(fullDefinition));
    std::string targets = fullTargets;
    targets.insert(std::string("<root").size(), schema);
    EXPECT_EQ(meaningOfTargets(targets), meaningOfTargets(fullTargets));
}

TEST(NearestName, FindsWhatWasMeant) {
    const std::vector<std::string> names = {"Hosts", "VorlaneFX", "Content", "ID"};
    EXPECT_EQ(nearestName("hosts", names), "Hosts");
    EXPECT_EQ(nearestName("Host", names), "Hosts");
    EXPECT_EQ(nearestName("Ohsts", names), "Hosts");
    EXPECT_EQ(nearestName("Contents", names), "Content");
    EXPECT_EQ(nearestName("Vorlane FX", names), "VorlaneFX");
    EXPECT_EQ(nearestName("id", names), "ID");
    EXPECT_EQ(nearestName("IE", names), std::nullopt);
    EXPECT_EQ(nearestName("Plugins", names), std::nullopt);
    EXPECT_EQ(nearestName("", names), std::nullopt);
    EXPECT_EQ(nearestName(std::string(100000, 'x'), names), std::nullopt);
}

TEST(TextScan, FindsTheTagThatClosesAnotherElement) {
    const auto scan = scanText("<a>\n <b x='>'>\n </c></b>\n</a>");
    ASSERT_TRUE(scan.mismatch.has_value());
    EXPECT_EQ(scan.mismatch->open, "b");
    EXPECT_EQ(scan.mismatch->opened.line, 2);
    EXPECT_EQ(scan.mismatch->closed, "c");
    EXPECT_EQ(scan.mismatch->where.line, 3);
    EXPECT_EQ(scan.mismatch->where.column, 2);
}

TEST(TextScan, PassesOverCommentsSectionsAndDeclarations) {
    const auto scan = scanText("<?xml & ?><!DOCTYPE & ><a><!-- <b> & --><![CDATA[ <c> & ]]><d/></a>");
    EXPECT_FALSE(scan.mismatch.has_value());
    EXPECT_THAT(scan.strayAmpersands, IsEmpty());
}

TEST(TextScan, ColumnsCountCharacters) {
    const auto scan = scanText("\xC3\xA9\xC3\xA9 &");
    ASSERT_EQ(scan.strayAmpersands.size(), 1U);
    EXPECT_EQ(scan.strayAmpersands[0].column, 4);
}

TEST(QuotedText, EscapesControlCharactersAndWhatIsNotUTF8) {
    EXPECT_EQ(quotedText("a\n\x1b\x7f"), "\"a\\n\\x1b\\x7f\"");
    EXPECT_EQ(quotedText("\xC3\xA9"), "\"\xC3\xA9\"");
    EXPECT_EQ(quotedText("\xC3"), "\"\\xc3\"");
    EXPECT_EQ(quotedText("\xC2\x9B\xED\xA0\x80\xC0\xAF"), "\"\\xc2\\x9b\\xed\\xa0\\x80\\xc0\\xaf\"");
    EXPECT_EQ(quotedText(toVLString(std::string(300, 'x'))), "\"" + std::string(200, 'x') + "...\"");
}
