#include "Foundation/FileLibrary.h"
#include "Tests/Support/CapturedStdout.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/Texts.h"
#include "Tests/Support/VLStringPrinter.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using InstallItem = InstallUtility::InstallItem;
using ItemPath = InstallItem::ItemPath;
using Condition = ItemPath::Condition;

constexpr const char* notFoundLine = "Error: Error! File with target not found\n\n";
constexpr const char* noRootLine = "Error: Can't find node <root> in target paths XML.\n";

/// An engine that has read a file, and what it said.
struct Reading {
    InstallUtility engine;
    bool bRead = false;
    std::string output;

    explicit Reading(const std::string& xml) {
        const TemporaryDirectory folder;
        const VLString path = folder / "target_path.xml";
        FileLibrary::writeFile(textOf(xml), path, false);
        read(path);
    }

    void read(const VLString& path) {
        CapturedStdout captured;
        bRead = engine.parseTargetsPathXMLFile(path);
        output = captured.text();
    }
};

/// The items of a file whose root element has that content.
std::map<VLString, InstallItem> itemsOf(const std::string& content) {
    const Reading reading("<root>" + content + "</root>");
    EXPECT_TRUE(reading.bRead);
    EXPECT_EQ(reading.output, "");
    return reading.engine.installItems;
}

/// What `textOf` gives for each element.
template <class Container, class TextOf>
std::vector<VLString> texts(const Container& elements, TextOf textOf) {
    std::vector<VLString> result(elements.size());
    std::transform(elements.begin(), elements.end(), result.begin(), textOf);
    return result;
}

std::vector<VLString> names(const std::map<VLString, InstallItem>& items) {
    return texts(items, [](const auto& item) { return item.first; });
}

std::vector<VLString> pathsOf(const InstallItem& item) {
    return texts(item.paths, [](const ItemPath& path) { return path.path; });
}

/// The condition of the first path of the only item.
Condition parsedCondition(const std::string& insidePath) {
    return itemsOf("<item name='i'><path value='p'>" + insidePath + "</path></item>")
        .at("i")
        .paths.at(0)
        .condition;
}

std::vector<VLString> valuesOf(const std::vector<Condition>& conditions) {
    return texts(conditions, [](const Condition& condition) { return condition.value; });
}

std::chrono::duration<double> timeToReadPaths(int paths) {
    std::string content = "<item name='i'>";
    for (int i = 0; i < paths; ++i) {
        content += "<path value='p'><condition type='Or'/></path><item name='" + std::to_string(i) + "'/>";
    }
    content += "</item>";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(itemsOf(content).at("i").paths.size(), static_cast<std::size_t>(paths));
    return std::chrono::steady_clock::now() - start;
}

} // namespace

// The file as a whole

TEST(TargetPathsFile, RecordsStartEmpty) {
    EXPECT_THAT(InstallItem().paths, IsEmpty());
    EXPECT_THAT(InstallItem().items, IsEmpty());
    EXPECT_EQ(ItemPath().path, "");
    EXPECT_EQ(ItemPath().condition.value, "");
    EXPECT_EQ(ItemPath().condition.type, Condition::None);
    EXPECT_THAT(ItemPath().condition.conditions, IsEmpty());
}

TEST(TargetPathsFile, ACopyIsDeep) {
    std::map<VLString, InstallItem> original = itemsOf(
        "<item name='i'><path value='p'><condition type='And'><condition value='v'/></condition></path>"
        "<item name='j'><path value='q'/></item></item>");
    const InstallItem copy = original.at("i");
    original.at("i").paths[0].condition.conditions[0].value = "changed";
    original.at("i").items.clear();
    EXPECT_EQ(copy.paths.at(0).condition.conditions.at(0).value, "v");
    EXPECT_THAT(pathsOf(copy.items.at("j")), ElementsAre("q"));
}

TEST(TargetPathsFile, AMissingFileIsReportedAndThenItsMissingRoot) {
    Reading reading("<root><item name='kept'/></root>");
    const TemporaryDirectory folder;
    for (const VLString& path : {folder / "missing.xml", folder.text(), VLString()}) {
        reading.read(path);
        EXPECT_FALSE(reading.bRead) << path.ConstData();
        EXPECT_EQ(reading.output, std::string(notFoundLine) + noRootLine) << path.ConstData();
        EXPECT_THAT(names(reading.engine.installItems), ElementsAre("kept")) << path.ConstData();
    }
}

TEST(TargetPathsFile, AFileWithoutRootIsReportedAndChangesNothing) {
    const TemporaryDirectory folder;
    for (const char* xml : {"", "no xml", "<Root/>", "<item name='i'/>", "<other><root/></other>",
                            "<root><item name='i'/>", "<root><item name='i'></root>"}) {
        Reading reading("<root><item name='kept'/></root>");
        ASSERT_TRUE(FileLibrary::writeFile(xml, folder / "target_path.xml", false));
        reading.read(folder / "target_path.xml");
        EXPECT_FALSE(reading.bRead) << xml;
        EXPECT_EQ(reading.output, noRootLine) << xml;
        EXPECT_THAT(names(reading.engine.installItems), ElementsAre("kept")) << xml;
    }
}

TEST(TargetPathsFile, AnEmptyRootGivesNoItems) {
    EXPECT_THAT(itemsOf(""), IsEmpty());
    const Reading reading("<root/>");
    EXPECT_TRUE(reading.bRead);
    EXPECT_EQ(reading.output, "");
}

TEST(TargetPathsFile, ReadingReplacesTheItems) {
    Reading reading("<root><item name='old'/></root>");
    const TemporaryDirectory folder;
    const VLString path = folder / "a target 'path' \xC3\xA9.xml";
    ASSERT_TRUE(FileLibrary::writeFile("<root><item name='new'/></root>", path, false));
    reading.read(path);
    EXPECT_TRUE(reading.bRead);
    EXPECT_THAT(names(reading.engine.installItems), ElementsAre("new"));
}

TEST(TargetPathsFile, OnlyTheFirstRootCounts) {
    const Reading reading("<item name='a'/><root><item name='b'/></root><root><item name='c'/></root>");
    EXPECT_TRUE(reading.bRead);
    EXPECT_THAT(names(reading.engine.installItems), ElementsAre("b"));
}

// Items

TEST(TargetPathsFile, ItemsMakeATree) {
    const std::map<VLString, InstallItem> items =
        itemsOf("<item name='VorlaneFX'><path value='/a'/></item><item name='Hosts'><item name='H'>"
                "<path value='/b'/><item name='VorlaneFX'><path value='/c'/></item></item></item>");
    EXPECT_THAT(names(items), ElementsAre("VorlaneFX", "Hosts"));
    EXPECT_THAT(pathsOf(items.at("VorlaneFX")), ElementsAre("/a"));
    EXPECT_THAT(items.at("VorlaneFX").items, IsEmpty());
    EXPECT_THAT(items.at("Hosts").paths, IsEmpty());
    EXPECT_THAT(pathsOf(items.at("Hosts").items.at("H")), ElementsAre("/b"));
    EXPECT_THAT(pathsOf(items.at("Hosts").items.at("H").items.at("VorlaneFX")), ElementsAre("/c"));
}

TEST(TargetPathsFile, AnItemWithoutNameIsSkippedWithAllInsideIt) {
    EXPECT_THAT(
        names(itemsOf("<item><path value='p'/><item name='a'/></item><item name=''><item name='b'/></item>"
                      "<item Name='c'/><item name='kept'/>")),
        ElementsAre("kept"));
}

TEST(TargetPathsFile, OfItemsOfOneNameTheLaterReplacesTheEarlierWhole) {
    const std::map<VLString, InstallItem> items =
        itemsOf("<item name='i'><path value='p'/><path value='q'/><item name='a'/></item>"
                "<item name='i'><path value='r'/><item name='b'/></item>");
    EXPECT_THAT(names(items), ElementsAre("i"));
    EXPECT_THAT(pathsOf(items.at("i")), ElementsAre("r"));
    EXPECT_THAT(names(items.at("i").items), ElementsAre("b"));
}

TEST(TargetPathsFile, AnEmptyItemReplacesToo) {
    const std::map<VLString, InstallItem> items =
        itemsOf("<item name='i'><path value='p'/><item name='a'/></item><item name='i'/>");
    EXPECT_THAT(items.at("i").paths, IsEmpty());
    EXPECT_THAT(items.at("i").items, IsEmpty());
}

TEST(TargetPathsFile, NamesThatDifferInCaseAreTwo) {
    EXPECT_THAT(names(itemsOf("<item name='I'/><item name='i'/>")), ElementsAre("I", "i"));
}

TEST(TargetPathsFile, OtherNodesAreIgnored) {
    const std::map<VLString, InstallItem> items = itemsOf(
        "item<!--item--><Item name='a'/><items><item name='b'/></items><path value='/root'/>"
        "<item name='kept' colour='red'>path<!--path--><Path value='c'/><paths><path value='d'/></paths>"
        "<condition type='Or'/><path value='e' colour='red'/>text</item>text");
    EXPECT_THAT(names(items), ElementsAre("kept"));
    EXPECT_THAT(pathsOf(items.at("kept")), ElementsAre("e"));
    EXPECT_EQ(items.at("kept").paths.at(0).condition.type, Condition::None);
}

TEST(TargetPathsFile, FillsAnyMapFromAnyNode) {
    TiXmlDocument document;
    document.Parse("<any><item name='i'/></any>");
    std::map<VLString, InstallItem> items = {{"old", {}}};
    EXPECT_TRUE(InstallUtility::parseXMLwithTargetPathsRecursively(document.RootElement(), items));
    EXPECT_THAT(names(items), ElementsAre("i"));
    EXPECT_TRUE(InstallUtility::parseXMLwithTargetPathsRecursively(nullptr, items));
    EXPECT_THAT(items, IsEmpty());
}

// Paths

TEST(TargetPathsFile, PathsKeepTheirOrder) {
    EXPECT_THAT(pathsOf(itemsOf("<item name='i'><path value='b'/><path value='ccc'/><item name='j'/>"
                                "<path value='a'/><path value='b'/></item>")
                            .at("i")),
                ElementsAre("b", "ccc", "a", "b"));
}

TEST(TargetPathsFile, APathWithoutValueIsDroppedWithItsCondition) {
    EXPECT_THAT(pathsOf(itemsOf("<item name='i'><path><condition type='Or'/></path><path value=''/>"
                                "<path Value='x'/><path value='kept'/></item>")
                            .at("i")),
                ElementsAre("kept"));
}

TEST(TargetPathsFile, OnlyTheFirstConditionOfAPathCounts) {
    const Condition condition = parsedCondition("<other type='Or'/><condition type='FileExist' value='a'/>"
                                                "<condition type='PathExist' value='b'/>");
    EXPECT_EQ(condition.type, Condition::FileExist);
    EXPECT_EQ(condition.value, "a");
    EXPECT_THAT(condition.conditions, IsEmpty());
}

TEST(TargetPathsFile, APathWithoutConditionHasNone) {
    const Condition condition = parsedCondition("<Condition type='Or' value='a'/>");
    EXPECT_EQ(condition.type, Condition::None);
    EXPECT_EQ(condition.value, "");
}

// Conditions

TEST(TargetPathsFile, AConditionMayLackItsAttributes) {
    const Condition condition = parsedCondition("<condition/>");
    EXPECT_EQ(condition.type, Condition::None);
    EXPECT_EQ(condition.value, "");
    EXPECT_EQ(parsedCondition("<condition value='v'/>").value, "v");
    EXPECT_EQ(parsedCondition("<condition type='or'/>").type, Condition::Or);
    EXPECT_EQ(parsedCondition("<condition Type='Or'/>").type, Condition::None);
}

TEST(TargetPathsFile, OperandsAreReadInTheirOrderAtEveryLevel) {
    const Condition condition = parsedCondition(
        "<condition type='And'><condition type='Or' value='a'><condition value='b'/><condition value='c'/>"
        "</condition><condition type='PathExist' value='d'/></condition>");
    EXPECT_EQ(condition.type, Condition::And);
    EXPECT_THAT(valuesOf(condition.conditions), ElementsAre("a", "d"));
    EXPECT_EQ(condition.conditions.at(0).type, Condition::Or);
    EXPECT_THAT(valuesOf(condition.conditions.at(0).conditions), ElementsAre("b", "c"));
    EXPECT_EQ(condition.conditions.at(1).type, Condition::PathExist);
}

TEST(TargetPathsFile, BehindTheFirstOperandAnyElementIsOne) {
    const Condition condition = parsedCondition(
        "<condition type='And'><test type='Or' value='before'/>text<condition value='a'/>"
        "<!--condition--><test type='FileExist' value='b'/>text<condition value='c'/></condition>");
    EXPECT_THAT(valuesOf(condition.conditions), ElementsAre("a", "b", "c"));
    EXPECT_EQ(condition.conditions.at(1).type, Condition::FileExist);
}

TEST(TargetPathsFile, WithoutAConditionThereAreNoOperands) {
    EXPECT_THAT(parsedCondition("<condition type='And'><test type='Or' value='a'/></condition>").conditions,
                IsEmpty());
}

TEST(TargetPathsFile, OperandsOfAnyKindAreRead) {
    const Condition condition =
        parsedCondition("<condition type='PathExist' value='a'><condition value='b'/></condition>");
    EXPECT_THAT(valuesOf(condition.conditions), ElementsAre("b"));
}

// Text and harm

TEST(TargetPathsFile, TextComesThroughByteForByte) {
    const char* expected = "\xC3\x89"
                           "clair \xE6\x97\xA5\xE6\x9C\xAC 'x' & y";
    const VLString attribute = "\"\xC3\x89"
                               "clair \xE6\x97\xA5\xE6\x9C\xAC 'x' &amp; y\"";
    for (const char* start : {"", "\xEF\xBB\xBF", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n",
                              "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"}) {
        const VLString xml =
            VLString(start) + "<root><item name=@><path value=@><condition value=@/></path></item></root>";
        const Reading reading(xml.Replace("@", attribute).ConstData());
        ASSERT_EQ(reading.engine.installItems.count(expected), 1U) << start;
        const InstallItem& item = reading.engine.installItems.at(expected);
        EXPECT_THAT(pathsOf(item), ElementsAre(expected)) << start;
        EXPECT_EQ(item.paths.at(0).condition.value, expected) << start;
    }
}

TEST(TargetPathsFile, TooDeepAFileIsMalformed) {
    std::string items = "<root>";
    std::string conditions = "<root><item name='i'><path value='p'>";
    for (int i = 0; i < 100000; ++i) {
        items += "<item name='i'>";
        conditions += "<condition type='And'>";
    }
    EXPECT_FALSE(Reading(items).bRead);
    EXPECT_FALSE(Reading(conditions).bRead);
}

TEST(TargetPathsFile, TwoHundredLevelsAreRead) {
    std::string content = "<path value='p'/>";
    for (int i = 0; i < 200; ++i) {
        content.insert(0, "<item name='i'>").append("</item>");
    }
    const std::map<VLString, InstallItem> items = itemsOf(content);
    const InstallItem* item = &items.at("i");
    for (int i = 1; i < 200; ++i) {
        item = &item->items.at("i");
    }
    EXPECT_THAT(pathsOf(*item), ElementsAre("p"));
}

TEST(TargetPathsFile, TimeGrowsInProportionToTheFile) {
    const auto few = std::min({timeToReadPaths(5000), timeToReadPaths(5000), timeToReadPaths(5000)});
    const auto many = timeToReadPaths(50000);
    EXPECT_LT(many / few, 40); // 10 in theory; 100 where each path costs time in proportion to all others
}
