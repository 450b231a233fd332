#include "Utility/InstallUtility/SKUDefinition.h"

#include "Foundation/FileLibrary.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/Texts.h"
#include "Tests/Support/VLStringPrinter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tinyxml.h>

#include <cstring>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace {

SKUDefinition parsedText(const std::string& xml) {
    SKUDefinition definition;
    definition.parse(textOf(xml));
    return definition;
}

/// The definition of a product with that content.
SKUDefinition parsed(const std::string& content) {
    return parsedText("<product>" + content + "</product>");
}

std::string family(const std::string& name, const std::string& content) {
    return "<family name='" + name + "'>" + content + "</family>";
}

std::string families(const std::string& content) {
    return "<families>" + content + "</families>";
}

std::string hosts(const std::string& content) {
    return "<hosts>" + content + "</hosts>";
}

/// Families A and B with a plug-in each.
std::string familiesAAndB() {
    return families(family("A", "<plugins><plugin name='a'/></plugins>") +
                    family("B", "<plugins><plugin name='b'/></plugins>"));
}

void expectEmpty(const SKUDefinition& definition) {
    EXPECT_EQ(definition.skuInfo.ID, "");
    EXPECT_EQ(definition.skuInfo.name, "");
    EXPECT_EQ(definition.skuInfo.build, "");
    EXPECT_EQ(definition.skuInfo.prefix, "");
    EXPECT_THAT(definition.pluginsByFamily, IsEmpty());
    EXPECT_THAT(definition.contentsByFamily, IsEmpty());
    EXPECT_THAT(definition.contentMaskByFamily, IsEmpty());
    EXPECT_THAT(definition.featuresMaskByFamily, IsEmpty());
    EXPECT_THAT(definition.hostNames, IsEmpty());
    EXPECT_THAT(definition.hostArchNames, IsEmpty());
    EXPECT_THAT(definition.hostFamilies, IsEmpty());
    EXPECT_THAT(definition.hostCompilerOptions, IsEmpty());
    EXPECT_THAT(definition.buildHostNames, IsEmpty());
    EXPECT_THAT(definition.buildHostArchNames, IsEmpty());
    EXPECT_THAT(definition.buildHostFamilies, IsEmpty());
    EXPECT_THAT(definition.installFiles.children, IsEmpty());
    EXPECT_FALSE(definition.installFiles.isDirectory);
}

/// What holds of every definition, whatever it was read from.
void expectConsistent(const FileNode& node) {
    for (const auto& [name, child] : node.children) {
        EXPECT_TRUE(name.IsSet());
        EXPECT_EQ(child.name, name);
        EXPECT_EQ(child.parentName, node.name);
        EXPECT_TRUE(child.isDirectory || child.children.empty());
        expectConsistent(child);
    }
}

void expectConsistent(const SKUDefinition& definition) {
    for (const SKUDefinition::FamilyLists* lists :
         {&definition.pluginsByFamily, &definition.contentsByFamily, &definition.hostFamilies}) {
        for (const auto& [name, list] : *lists) {
            EXPECT_THAT(list, testing::Not(IsEmpty()));
        }
    }
    EXPECT_TRUE(definition.installFiles.isDirectory || definition.installFiles.children.empty());
    expectConsistent(definition.installFiles);
}

/// The bits as digits, bit 0 first.
std::string digits(const VLBitSet& bits) {
    std::string result;
    for (unsigned long i = 0; i < bits.Size(); ++i) {
        result += bits[i] ? '1' : '0';
    }
    return result;
}

std::string digits(const char* hexadecimal) {
    VLBitSet bits;
    bits.fromString(hexadecimal);
    return digits(bits);
}

std::string zeros(unsigned long count) {
    return std::string(count, '0');
}

constexpr const char* allSet = "11111111111111111111111111111111";

/// A document that uses all there is.
constexpr const char* wholeDocument =
    "<?xml version='1.0' encoding='UTF-8'?><!-- c --><product><sku ID='1' name='N' build='2.0' prefix='P'/>"
    "<families><family name='A'><plugins><plugin name='a'/></plugins><contents><content name='c'/></contents>"
    "<featuresmask name='1FFFFFFFF'/><contentmask name='m'/></family></families>"
    "<hosts><host name='H' families='A;B' arch='x86;x64' compilerOptions='-O'/></hosts>"
    "<hostsForBuild><host name='G'/></hostsForBuild>"
    "<installFiles><directory fileName='d' dontdelete='1'><file fileName='f'><shortCut name='s' "
    "dir='t'/></file>"
    "</directory></installFiles></product>";

} // namespace

// Flags

TEST(BoolFlag, KnowsZeroAndOneOnly) {
    for (const bool defaultValue : {false, true}) {
        EXPECT_FALSE(getBoolFlagFromString("0", defaultValue));
        EXPECT_TRUE(getBoolFlagFromString("1", defaultValue));
        for (const char* other :
             {"", "TRUE", "true", "yes", "no", "false", "00", "01", " 1", "1 ", "2", "-1"}) {
            EXPECT_EQ(getBoolFlagFromString(other, defaultValue), defaultValue) << other;
        }
    }
}

// Bit masks

TEST(BitSet, IsEmptyAtFirst) {
    EXPECT_EQ(VLBitSet().Size(), 0U);
    EXPECT_FALSE(VLBitSet()[0]);
}

TEST(BitSet, LeastSignificantBitComesFirst) {
    EXPECT_EQ(digits("00000001"), "1" + zeros(31));
    EXPECT_EQ(digits("80000002"), "01" + zeros(29) + "1");
}

TEST(BitSet, DigitsMayBeOfEitherCase) {
    EXPECT_EQ(digits("000000aF"), "11110101" + zeros(24));
}

TEST(BitSet, EachEightDigitsFromTheRightGiveThirtyTwoBits) {
    EXPECT_EQ(digits("1FFFFFFFF"), std::string(allSet) + "1" + zeros(31));
    EXPECT_EQ(digits("00000004"
                     "00000002"
                     "00000001"),
              "1" + zeros(31) + "01" + zeros(30) + "001" + zeros(29));
}

TEST(BitSet, AShortNumberStillGivesThirtyTwoBits) {
    EXPECT_EQ(digits("3"), "11" + zeros(30));
    EXPECT_EQ(digits("0"), zeros(32));
}

TEST(BitSet, DigitsThatAreNoNumberAreDroppedWithoutAGap) {
    EXPECT_EQ(digits("zz00000001"), "1" + zeros(31));
    EXPECT_EQ(digits("00000002"
                     "xxxxxxxx"
                     "00000001"),
              "1" + zeros(31) + "01" + zeros(30));
    EXPECT_EQ(digits("0000002z"), "");
    EXPECT_EQ(digits("z0000002"), "");
}

TEST(BitSet, TakesWhatAStreamTakesForANumber) {
    EXPECT_EQ(digits("0x1"), "1" + zeros(31));
    EXPECT_EQ(digits("0X000003"), "11" + zeros(30));
    EXPECT_EQ(digits("      +1"), "1" + zeros(31));
    EXPECT_EQ(digits("-1"), allSet);
    EXPECT_EQ(digits("1       "), "");
    EXPECT_EQ(digits("        "), "");
    EXPECT_EQ(digits("-"), "");
}

TEST(BitSet, ADroppedChunkDoesNotSpoilTheNext) {
    // The chunk in the middle ends in the middle of a number, the one on the right has none.
    EXPECT_EQ(digits("00000001"
                     "0000000g"
                     "gggggggg"),
              "1" + zeros(31));
}

TEST(BitSet, ReportsWhetherThereAreBits) {
    VLBitSet bits;
    EXPECT_TRUE(bits.fromString("0"));
    EXPECT_FALSE(bits.fromString("z"));
    EXPECT_FALSE(bits.fromString(""));
}

TEST(BitSet, ReadingReplacesTheBits) {
    VLBitSet bits;
    bits.fromString("1FFFFFFFF");
    bits.fromString("2");
    EXPECT_EQ(digits(bits), "01" + zeros(30));
    bits.fromString("");
    EXPECT_EQ(bits.Size(), 0U);
}

TEST(BitSet, BitsPastTheEndAreClear) {
    VLBitSet bits;
    bits.fromString("FFFFFFFF");
    EXPECT_TRUE(bits[31]);
    EXPECT_FALSE(bits[32]);
    EXPECT_FALSE(bits[~0UL]);
}

// Identity and the shape of the document

TEST(SKUDefinition, StartsEmpty) {
    expectEmpty(SKUDefinition());
}

TEST(SKUDefinition, ReadsTheIdentity) {
    const SKUDefinition definition = parsed("<sku ID='42' name='Sparks' build='3.1.0.77' prefix='VL'/>");
    EXPECT_EQ(definition.skuInfo.ID, "42");
    EXPECT_EQ(definition.skuInfo.name, "Sparks");
    EXPECT_EQ(definition.skuInfo.build, "3.1.0.77");
    EXPECT_EQ(definition.skuInfo.prefix, "VL");
}

TEST(SKUDefinition, GivesTheIdentityAsACopy) {
    SKUDefinition definition = parsed("<sku ID='42' name='Sparks' build='3' prefix='VL'/>");
    const SKUDefinition::SKUInfo info = definition.getSKUInfo();
    definition.clear();
    EXPECT_EQ(info.ID, "42");
    EXPECT_EQ(info.name, "Sparks");
    EXPECT_EQ(info.build, "3");
    EXPECT_EQ(info.prefix, "VL");
}

TEST(SKUDefinition, AbsentIdentityAttributesStayEmpty) {
    const SKUDefinition definition = parsed("<sku name='Sparks'/>");
    EXPECT_EQ(definition.skuInfo.ID, "");
    EXPECT_EQ(definition.skuInfo.name, "Sparks");
    EXPECT_EQ(definition.skuInfo.build, "");
    EXPECT_EQ(definition.skuInfo.prefix, "");
}

TEST(SKUDefinition, AnotherRootElementGivesAnEmptyDefinition) {
    expectEmpty(parsedText("<sku ID='42' name='Sparks' build='3' prefix='VL'/>"));
    expectEmpty(parsedText("<Product><sku ID='42'/></Product>"));
    expectEmpty(parsedText("<all><product><sku ID='42'/></product></all>"));
}

TEST(SKUDefinition, TheProductNeedNotBeTheFirstElement) {
    EXPECT_EQ(parsedText("<other/><product><sku ID='1'/></product>").skuInfo.ID, "1");
}

TEST(SKUDefinition, OnlyTheFirstProductCounts) {
    const SKUDefinition definition =
        parsedText("<product><sku ID='1'/></product><product><sku ID='2' name='n'/></product>");
    EXPECT_EQ(definition.skuInfo.ID, "1");
    EXPECT_EQ(definition.skuInfo.name, "");
}

TEST(SKUDefinition, OnlyTheFirstOfEachSectionCounts) {
    const SKUDefinition definition =
        parsed("<sku ID='1'/><sku ID='2' name='n'/>" +
               families(family("A", "<plugins><plugin name='a'/></plugins>")) +
               families(family("B", "<plugins><plugin name='b'/></plugins>")) + hosts("<host name='H1'/>") +
               hosts("<host name='H2'/>") + "<hostsForBuild><host name='G1'/></hostsForBuild>" +
               "<hostsForBuild><host name='G2'/></hostsForBuild>" +
               "<installFiles><file fileName='f1'/></installFiles><installFiles><file "
               "fileName='f2'/></installFiles>");
    EXPECT_EQ(definition.skuInfo.ID, "1");
    EXPECT_EQ(definition.skuInfo.name, "");
    EXPECT_THAT(definition.pluginsByFamily, ElementsAre(Pair("A", ElementsAre("a"))));
    EXPECT_THAT(definition.hostNames, ElementsAre("H1"));
    EXPECT_THAT(definition.buildHostNames, ElementsAre("G1"));
    EXPECT_EQ(definition.installFiles.children.count("f1"), 1U);
    EXPECT_EQ(definition.installFiles.children.count("f2"), 0U);
}

TEST(SKUDefinition, SectionsCountOnlyInsideTheProduct) {
    const SKUDefinition definition =
        parsedText("<product/><sku ID='1'/><hosts><host name='H'/></hosts><installFiles/>");
    expectEmpty(definition);
}

TEST(SKUDefinition, NamesAreMatchedExactly) {
    expectEmpty(parsed("<SKU ID='1'/><sku id='1' Name='n'/><Families/><hostS/><installfiles/>" +
                       families("<Family name='A'><plugins><plugin name='a'/></plugins></Family>") +
                       hosts("<Host name='H'/>")));
}

TEST(SKUDefinition, AnInstallFilesElementMakesTheRootAFolder) {
    const SKUDefinition definition = parsed("<installFiles/>");
    EXPECT_TRUE(definition.installFiles.isDirectory);
    EXPECT_EQ(definition.installFiles.name, "");
    EXPECT_THAT(definition.installFiles.children, IsEmpty());
}

// Families

TEST(SKUDefinition, ListsPluginsAndContentsInTheirOrder) {
    const SKUDefinition definition =
        parsed(families(family("A", "<contents><content name='zz'/><content name='c'/></contents>"
                                    "<plugins><plugin name='b'/><plugin name='aaa'/><plugin name='b'/>"
                                    "</plugins>")));
    EXPECT_THAT(definition.pluginsByFamily, ElementsAre(Pair("A", ElementsAre("b", "aaa", "b"))));
    EXPECT_THAT(definition.contentsByFamily, ElementsAre(Pair("A", ElementsAre("zz", "c"))));
}

TEST(SKUDefinition, FamiliesAreOrderedByTheirNamesLongestFirst) {
    const std::string plugin = "<plugins><plugin name='p'/></plugins>";
    const SKUDefinition definition =
        parsed(families(family("b", plugin) + family("zz", plugin) + family("abc", plugin)));
    EXPECT_THAT(definition.pluginsByFamily,
                ElementsAre(Pair("abc", testing::_), Pair("zz", testing::_), Pair("b", testing::_)));
}

TEST(SKUDefinition, PluginsCountOnlyInsideTheirList) {
    const SKUDefinition definition =
        parsed(families(family("A", "<plugin name='out'/><plugins><plugin name='in'/><content name='x'/>"
                                    "</plugins><plugins><plugin name='second'/></plugins>"
                                    "<contents><plugin name='y'/></contents>")));
    EXPECT_THAT(definition.pluginsByFamily, ElementsAre(Pair("A", ElementsAre("in"))));
    EXPECT_THAT(definition.contentsByFamily, IsEmpty());
}

TEST(SKUDefinition, WhatIsNoElementIsPassedOver) {
    const SKUDefinition definition =
        parsed(families("text<!--family-->" +
                        family("A", "<plugins>plugin<!--plugin--><plugin name='a'/><!--x-->plugin"
                                    "<plugin name='b'/></plugins>") +
                        "family") +
               hosts("host<!--host--><host name='H'/>host"));
    EXPECT_THAT(definition.pluginsByFamily, ElementsAre(Pair("A", ElementsAre("a", "b"))));
    EXPECT_THAT(definition.hostNames, ElementsAre("H"));
}

TEST(SKUDefinition, UnnamedPluginsAreSkipped) {
    const SKUDefinition definition =
        parsed(families(family("A", "<plugins><plugin/><plugin name='a'/><plugin id='x'/></plugins>"
                                    "<contents><content/><content name='c'/></contents>")));
    EXPECT_THAT(definition.pluginsByFamily, ElementsAre(Pair("A", ElementsAre("a"))));
    EXPECT_THAT(definition.contentsByFamily, ElementsAre(Pair("A", ElementsAre("c"))));
}

TEST(SKUDefinition, AFamilyOfUnnamedPluginsIsNone) {
    const SKUDefinition definition =
        parsed(families(family("A", "<plugins><plugin/></plugins><contents><content/></contents>") +
                        family("B", "<plugins/><contents/>") + family("C", "")) +
               hosts("<host name='H'/>"));
    EXPECT_THAT(definition.pluginsByFamily, IsEmpty());
    EXPECT_THAT(definition.contentsByFamily, IsEmpty());
    EXPECT_FALSE(definition.familyHasHost("A", "H"));
}

TEST(SKUDefinition, AFamilyWithoutNameIsSkippedWithAllInsideIt) {
    const SKUDefinition definition = parsed(
        families("<family><plugins><plugin name='a'/></plugins><contents><content name='c'/></contents>"
                 "<featuresmask name='1'/><contentmask name='m'/></family>"));
    EXPECT_THAT(definition.pluginsByFamily, IsEmpty());
    EXPECT_THAT(definition.contentsByFamily, IsEmpty());
    EXPECT_THAT(definition.featuresMaskByFamily, IsEmpty());
    EXPECT_THAT(definition.contentMaskByFamily, IsEmpty());
}

TEST(SKUDefinition, OfFamiliesOfOneNameTheFirstWinsButForTheContentMask) {
    const auto content = [](const std::string& n) {
        return "<plugins><plugin name='p" + n + "'/></plugins><contents><content name='c" + n +
               "'/></contents><featuresmask name='" + n + "'/><contentmask name='m" + n + "'/>";
    };
    const SKUDefinition definition = parsed(families(family("A", content("1")) + family("A", content("2"))));
    EXPECT_THAT(definition.pluginsByFamily, ElementsAre(Pair("A", ElementsAre("p1"))));
    EXPECT_THAT(definition.contentsByFamily, ElementsAre(Pair("A", ElementsAre("c1"))));
    EXPECT_EQ(digits(definition.featuresMaskByFamily.at("A")), "1" + zeros(31));
    EXPECT_THAT(definition.contentMaskByFamily, ElementsAre(Pair("A", "m2")));
}

TEST(SKUDefinition, AFamilyWithoutPluginsLeavesThePlaceToTheNextOfItsName) {
    const SKUDefinition definition = parsed(families(family("A", "<contentmask name='m'/>") +
                                                     family("A", "<plugins><plugin name='p'/></plugins>")));
    EXPECT_THAT(definition.pluginsByFamily, ElementsAre(Pair("A", ElementsAre("p"))));
    EXPECT_THAT(definition.contentMaskByFamily, ElementsAre(Pair("A", "m")));
}

TEST(SKUDefinition, ReadsTheFeaturesMask) {
    const SKUDefinition definition = parsed(families(family("A", "<featuresmask name='1FFFFFFFF'/>") +
                                                     family("B", "<featuresmask name='zz00000001'/>")));
    EXPECT_EQ(digits(definition.featuresMaskByFamily.at("A")), std::string(allSet) + "1" + zeros(31));
    EXPECT_EQ(digits(definition.featuresMaskByFamily.at("B")), "1" + zeros(31));
}

TEST(SKUDefinition, AFeaturesMaskWithoutBitsIsOneAllTheSame) {
    const SKUDefinition definition =
        parsed(families(family("A", "<featuresmask name='no mask'/>") +
                        family("A", "<featuresmask name='1'/>") + family("B", "<featuresmask name=''/>")));
    ASSERT_EQ(definition.featuresMaskByFamily.size(), 2U);
    EXPECT_EQ(definition.featuresMaskByFamily.at("A").Size(), 0U);
    EXPECT_EQ(definition.featuresMaskByFamily.at("B").Size(), 0U);
}

TEST(SKUDefinition, OnlyTheFirstMaskOfAFamilyCounts) {
    const SKUDefinition definition = parsed(
        families(family("A", "<featuresmask/><featuresmask name='1'/><contentmask/><contentmask name='m'/>") +
                 family("B", "<featuresmask name='1'/><featuresmask name='2'/>"
                             "<contentmask name='m'/><contentmask name='n'/>")));
    EXPECT_EQ(definition.featuresMaskByFamily.count("A"), 0U);
    EXPECT_EQ(digits(definition.featuresMaskByFamily.at("B")), "1" + zeros(31));
    EXPECT_THAT(definition.contentMaskByFamily, ElementsAre(Pair("B", "m")));
}

TEST(SKUDefinition, TheContentMaskIsText) {
    const SKUDefinition definition =
        parsed(families(family("A", "<contentmask name=' 0zz '/>") + family("B", "<contentmask name=''/>")));
    EXPECT_THAT(definition.contentMaskByFamily, ElementsAre(Pair("A", " 0zz "), Pair("B", "")));
}

// Hosts

TEST(SKUDefinition, AHostWithoutArchHasItsOwnNameOnly) {
    const SKUDefinition definition =
        parsed(hosts("<host name='H'/><host name='G' arch=''/><host name='F' arch=';'/>"));
    EXPECT_THAT(definition.hostNames, ElementsAre("H", "G", "F"));
    EXPECT_THAT(definition.hostArchNames, ElementsAre("H", "G", "F"));
    EXPECT_THAT(definition.hostFamilies, IsEmpty());
    EXPECT_THAT(definition.hostCompilerOptions, IsEmpty());
}

TEST(SKUDefinition, AHostWithoutNameIsSkipped) {
    const SKUDefinition definition =
        parsed(hosts("<host families='A' arch='x86' compilerOptions='-O'/><host name='H'/>"));
    EXPECT_THAT(definition.hostNames, ElementsAre("H"));
    EXPECT_THAT(definition.hostArchNames, ElementsAre("H"));
    EXPECT_THAT(definition.hostFamilies, IsEmpty());
    EXPECT_THAT(definition.hostCompilerOptions, IsEmpty());
}

TEST(SKUDefinition, QualifiesHostsByTheirArch) {
    const std::vector<std::pair<const char*, std::vector<VLString>>> expectations = {
        {"x86", {"H32"}},          {"x64", {"H"}},
        {"X86", {"H32"}},          {"X64", {"H"}},
        {"x86;x64", {"H32", "H"}}, {"x64;x86", {"H", "H32"}},
        {";x64;", {"H"}},          {"arm", {}},
        {"arm;x64", {"H"}},        {"x64 ", {}},
        {"x64;x64", {"H", "H"}},   {"x86,x64", {}},
    };
    for (const auto& [arch, names] : expectations) {
        const SKUDefinition definition = parsed(hosts("<host name='H' arch='" + std::string(arch) + "'/>"));
        EXPECT_THAT(definition.hostArchNames, testing::ElementsAreArray(names)) << arch;
        EXPECT_THAT(definition.hostNames, ElementsAre("H")) << arch;
    }
}

TEST(SKUDefinition, EachVariantOfAHostHasItsFamiliesAndOptions) {
    const SKUDefinition definition =
        parsed(hosts("<host name='Premiere Pro' arch='X86;x64' families='A;;B' compilerOptions='-a b'/>"));
    EXPECT_THAT(definition.hostNames, ElementsAre("Premiere Pro"));
    EXPECT_THAT(definition.hostArchNames, ElementsAre("Premiere Pro32", "Premiere Pro"));
    EXPECT_THAT(definition.hostFamilies, ElementsAre(Pair("Premiere Pro32", ElementsAre("A", "B")),
                                                     Pair("Premiere Pro", ElementsAre("A", "B"))));
    EXPECT_THAT(definition.hostCompilerOptions,
                ElementsAre(Pair("Premiere Pro32", "-a b"), Pair("Premiere Pro", "-a b")));
}

TEST(SKUDefinition, ALaterHostOverwritesWhatItStates) {
    const SKUDefinition definition = parsed(hosts("<host name='H' families='A' compilerOptions='-1'/>"
                                                  "<host name='H' families='B'/>"
                                                  "<host name='H' compilerOptions='-3'/>"
                                                  "<host name='H' families=';' compilerOptions=''/>"));
    EXPECT_THAT(definition.hostNames, ElementsAre("H", "H", "H", "H"));
    EXPECT_THAT(definition.hostFamilies, ElementsAre(Pair("H", ElementsAre("B"))));
    EXPECT_THAT(definition.hostCompilerOptions, ElementsAre(Pair("H", "-3")));
}

TEST(SKUDefinition, ARepeatedVariantDoesNotMultiplyTheHostForEver) {
    std::string arch;
    for (int i = 0; i < 100000; ++i) {
        arch += "x64;";
    }
    const SKUDefinition definition =
        parsed(hosts("<host name='" + std::string(100000, 'n') + "' arch='" + arch + "x86'/>"));
    EXPECT_LT(definition.hostArchNames.size(), 10U);
    EXPECT_EQ(definition.hostArchNames.back(), textOf(std::string(100000, 'n') + "32"));
}

TEST(SKUDefinition, HostsForBuildAreThoseOfHostsWhenTheyAreNotGiven) {
    const SKUDefinition definition =
        parsed(hosts("<host name='H' arch='x86' families='A' compilerOptions='-O'/>"));
    EXPECT_THAT(definition.buildHostNames, ElementsAre("H"));
    EXPECT_THAT(definition.buildHostArchNames, ElementsAre("H32"));
    EXPECT_THAT(definition.buildHostFamilies, ElementsAre(Pair("H32", ElementsAre("A"))));
    EXPECT_THAT(definition.hostCompilerOptions, ElementsAre(Pair("H32", "-O")));
}

TEST(SKUDefinition, HostsForBuildHaveTheirOwnListsButShareTheOptions) {
    const SKUDefinition definition = parsed(
        "<hostsForBuild><host name='G' families='B' arch='x64' compilerOptions='-g'/></hostsForBuild>" +
        hosts("<host name='H' families='A' arch='x86' compilerOptions='-h'/>"));
    EXPECT_THAT(definition.hostNames, ElementsAre("H"));
    EXPECT_THAT(definition.hostArchNames, ElementsAre("H32"));
    EXPECT_THAT(definition.hostFamilies, ElementsAre(Pair("H32", ElementsAre("A"))));
    EXPECT_THAT(definition.buildHostNames, ElementsAre("G"));
    EXPECT_THAT(definition.buildHostArchNames, ElementsAre("G"));
    EXPECT_THAT(definition.buildHostFamilies, ElementsAre(Pair("G", ElementsAre("B"))));
    EXPECT_THAT(definition.hostCompilerOptions, ElementsAre(Pair("G", "-g")));
}

TEST(SKUDefinition, EmptyHostsForBuildStillTakeTheOptionsAway) {
    const SKUDefinition definition =
        parsed(hosts("<host name='H' compilerOptions='-h'/>") + "<hostsForBuild/>");
    EXPECT_THAT(definition.hostNames, ElementsAre("H"));
    EXPECT_THAT(definition.buildHostNames, IsEmpty());
    EXPECT_THAT(definition.buildHostArchNames, IsEmpty());
    EXPECT_THAT(definition.buildHostFamilies, IsEmpty());
    EXPECT_THAT(definition.hostCompilerOptions, IsEmpty());
}

TEST(SKUDefinition, NoHostsElementChangesNothing) {
    SKUDefinition definition;
    Vector<VLString> names = {"n"};
    Vector<VLString> archNames = {"a"};
    SKUDefinition::FamilyLists families = {{"f", {"x"}}};
    std::map<VLString, VLString> options = {{"o", "x"}};
    definition.fillHostsInfo(nullptr, names, archNames, families, options);
    EXPECT_THAT(names, ElementsAre("n"));
    EXPECT_THAT(archNames, ElementsAre("a"));
    EXPECT_THAT(families, ElementsAre(Pair("f", ElementsAre("x"))));
    EXPECT_THAT(options, ElementsAre(Pair("o", "x")));
}

TEST(SKUDefinition, HostsAreAppendedButOptionsReplaced) {
    TiXmlDocument document;
    document.Parse("<any><host name='H' families='A' compilerOptions='-h'/></any>");
    SKUDefinition definition;
    Vector<VLString> names = {"n"};
    Vector<VLString> archNames = {"a"};
    SKUDefinition::FamilyLists families = {{"f", {"x"}}};
    std::map<VLString, VLString> options = {{"o", "x"}};
    definition.fillHostsInfo(document.RootElement(), names, archNames, families, options);
    EXPECT_THAT(names, ElementsAre("n", "H"));
    EXPECT_THAT(archNames, ElementsAre("a", "H"));
    EXPECT_THAT(families, UnorderedElementsAre(Pair("f", ElementsAre("x")), Pair("H", ElementsAre("A"))));
    EXPECT_THAT(options, ElementsAre(Pair("H", "-h")));
}

// Which family serves which host

TEST(SKUDefinition, AHostServesTheFamiliesThatItNames) {
    const SKUDefinition definition = parsed(familiesAAndB() + hosts("<host name='H' families='A;C'/>"));
    EXPECT_TRUE(definition.familyHasHost("A", "H"));
    EXPECT_FALSE(definition.familyHasHost("B", "H"));
    EXPECT_FALSE(definition.familyHasHost("a", "H"));
}

TEST(SKUDefinition, AFamilyWithoutPluginsHasNoHost) {
    const SKUDefinition definition =
        parsed(familiesAAndB() + hosts("<host name='H' families='A;C'/><host name='G'/>"));
    EXPECT_FALSE(definition.familyHasHost("C", "H"));
    EXPECT_FALSE(definition.familyHasHost("C", "G"));
}

TEST(SKUDefinition, AHostThatNamesNoFamiliesServesThemAll) {
    const SKUDefinition definition = parsed(familiesAAndB() + hosts("<host name='H' families=';'/>"));
    EXPECT_TRUE(definition.familyHasHost("A", "H"));
    EXPECT_TRUE(definition.familyHasHost("B", "H"));
    EXPECT_FALSE(definition.familyHasHost("A", "h"));
    EXPECT_FALSE(definition.familyHasHost("A", "Another"));
}

TEST(SKUDefinition, AnEmptyFamilyListCountsAsNone) {
    SKUDefinition definition = parsed(familiesAAndB() + hosts("<host name='H'/>"));
    definition.hostFamilies["H"] = {};
    definition.hostFamilies["G"] = {};
    EXPECT_TRUE(definition.familyHasHost("A", "H"));
    EXPECT_FALSE(definition.familyHasHost("A", "G"));
}

TEST(SKUDefinition, HostsAreAskedForByTheirQualifiedNames) {
    const SKUDefinition definition =
        parsed(familiesAAndB() + hosts("<host name='H' arch='x86'/><host name='G' arch='x86' families='A'/>"
                                       "<host name='F' arch='arm'/>"));
    EXPECT_TRUE(definition.familyHasHost("A", "H32"));
    EXPECT_FALSE(definition.familyHasHost("A", "H"));
    EXPECT_TRUE(definition.familyHasHost("A", "G32"));
    EXPECT_FALSE(definition.familyHasHost("B", "G32"));
    EXPECT_FALSE(definition.familyHasHost("A", "F"));
}

TEST(SKUDefinition, HostsForBuildAreAskedApart) {
    const SKUDefinition definition =
        parsed(familiesAAndB() + hosts("<host name='H' families='A'/><host name='I'/>") +
               "<hostsForBuild><host name='H' families='B'/><host name='J'/></hostsForBuild>");
    EXPECT_TRUE(definition.familyHasHost("A", "H"));
    EXPECT_FALSE(definition.familyHasHostBuild("A", "H"));
    EXPECT_FALSE(definition.familyHasHost("B", "H"));
    EXPECT_TRUE(definition.familyHasHostBuild("B", "H"));
    EXPECT_TRUE(definition.familyHasHost("A", "I"));
    EXPECT_FALSE(definition.familyHasHostBuild("A", "I"));
    EXPECT_FALSE(definition.familyHasHost("A", "J"));
    EXPECT_TRUE(definition.familyHasHostBuild("A", "J"));
}

// Reading again

TEST(SKUDefinition, ClearLeavesMasksFamiliesOfHostsOptionsAndPrefix) {
    SKUDefinition definition = parsedText(wholeDocument);
    definition.installFiles.arch = 1;
    definition.installFiles.name = "x";
    definition.clear();
    EXPECT_EQ(definition.skuInfo.ID, "");
    EXPECT_EQ(definition.skuInfo.name, "");
    EXPECT_EQ(definition.skuInfo.build, "");
    EXPECT_EQ(definition.skuInfo.prefix, "P");
    EXPECT_THAT(definition.hostNames, IsEmpty());
    EXPECT_THAT(definition.hostArchNames, IsEmpty());
    EXPECT_THAT(definition.buildHostNames, IsEmpty());
    EXPECT_THAT(definition.buildHostArchNames, IsEmpty());
    EXPECT_THAT(definition.pluginsByFamily, IsEmpty());
    EXPECT_THAT(definition.contentsByFamily, IsEmpty());
    EXPECT_THAT(definition.installFiles.children, IsEmpty());
    EXPECT_EQ(definition.installFiles.arch, 0);
    EXPECT_EQ(definition.installFiles.name, "");
    EXPECT_TRUE(definition.installFiles.isDirectory);
    EXPECT_THAT(definition.contentMaskByFamily, ElementsAre(Pair("A", "m")));
    EXPECT_EQ(definition.featuresMaskByFamily.count("A"), 1U);
    EXPECT_THAT(definition.hostFamilies,
                ElementsAre(Pair("H32", ElementsAre("A", "B")), Pair("H", ElementsAre("A", "B"))));
    EXPECT_THAT(definition.hostCompilerOptions, IsEmpty()); // hostsForBuild gave none
}

TEST(SKUDefinition, ClearLeavesTheCompilerOptionsAndTheFamiliesOfBuildHosts) {
    SKUDefinition definition = parsed("<hostsForBuild><host name='G' families='A' compilerOptions='-g'/>"
                                      "</hostsForBuild>");
    definition.clear();
    EXPECT_THAT(definition.hostCompilerOptions, ElementsAre(Pair("G", "-g")));
    EXPECT_THAT(definition.buildHostFamilies, ElementsAre(Pair("G", ElementsAre("A"))));
}

TEST(SKUDefinition, ASecondDocumentReplacesListsAndMergesIntoMaps) {
    SKUDefinition definition =
        parsed("<sku ID='1' name='n' build='b' prefix='P'/>" +
               families(family("A", "<plugins><plugin name='a'/></plugins><featuresmask name='1'/>"
                                    "<contentmask name='m'/>")) +
               hosts("<host name='H' families='A' compilerOptions='-h'/>") +
               "<installFiles><file fileName='f'/></installFiles>");
    definition.parse(
        textOf("<product><sku ID='2'/>" +
               families(family("B", "<plugins><plugin name='b'/></plugins><contentmask name='n'/>") +
                        family("A", "<featuresmask name='2'/>")) +
               hosts("<host name='G' families='B'/>") +
               "<installFiles><file fileName='g'/></installFiles></product>"));
    EXPECT_EQ(definition.skuInfo.ID, "2");
    EXPECT_EQ(definition.skuInfo.name, "");
    EXPECT_EQ(definition.skuInfo.build, "");
    EXPECT_EQ(definition.skuInfo.prefix, "P");
    EXPECT_THAT(definition.pluginsByFamily, ElementsAre(Pair("B", ElementsAre("b"))));
    EXPECT_THAT(definition.hostNames, ElementsAre("G"));
    EXPECT_THAT(definition.hostFamilies,
                ElementsAre(Pair("G", ElementsAre("B")), Pair("H", ElementsAre("A"))));
    EXPECT_THAT(definition.hostCompilerOptions, IsEmpty());
    EXPECT_THAT(definition.contentMaskByFamily, ElementsAre(Pair("A", "m"), Pair("B", "n")));
    EXPECT_EQ(digits(definition.featuresMaskByFamily.at("A")), "1" + zeros(31));
    EXPECT_EQ(definition.installFiles.children.size(), 1U);
    EXPECT_EQ(definition.installFiles.children.count("g"), 1U);
}

TEST(SKUDefinition, AnUnreadableTextClears) {
    for (const char* xml :
         {"", "no xml", "<product><sku ID='2'/>", "<product><sku ID='2'></product>", "<other/>"}) {
        SKUDefinition definition = parsed("<sku ID='1'/><installFiles><file fileName='f'/></installFiles>");
        definition.parse(xml);
        EXPECT_EQ(definition.skuInfo.ID, "") << xml;
        EXPECT_THAT(definition.installFiles.children, IsEmpty()) << xml;
    }
}

// Files and text

TEST(SKUDefinition, ReadsAFile) {
    const TemporaryDirectory folder;
    const VLString path = folder / "s k'u.xml";
    ASSERT_TRUE(FileLibrary::writeFile(textOf(wholeDocument), path, false));
    SKUDefinition definition;
    definition.fromFile(path);
    EXPECT_EQ(definition.skuInfo.name, "N");
    EXPECT_EQ(definition.installFiles.children.at("d").children.at("f").shortCut.dir, "t");
}

TEST(SKUDefinition, AFileThatCannotBeReadClears) {
    const TemporaryDirectory folder;
    const VLString malformed = folder / "malformed.xml";
    const VLString empty = folder / "empty.xml";
    ASSERT_TRUE(FileLibrary::writeFile("<product><sku ID='2'/>", malformed, false));
    ASSERT_TRUE(FileLibrary::writeFile("", empty, false));
    for (const VLString& path : {malformed, empty, folder / "missing.xml", folder.text(), VLString()}) {
        SKUDefinition definition = parsed("<sku ID='1'/>" + familiesAAndB());
        definition.fromFile(path);
        EXPECT_EQ(definition.skuInfo.ID, "") << path.ConstData();
        EXPECT_THAT(definition.pluginsByFamily, IsEmpty()) << path.ConstData();
    }
}

TEST(SKUDefinition, LineEndsAreThoseOfThisSystemInAFileAndStayInAText) {
    const TemporaryDirectory folder;
    const VLString xml("<product><sku ID='1'\r\nname='a\r\nb\rc'/></product>\r\n");
    ASSERT_TRUE(FileLibrary::writeFile(xml, folder / "sku.xml", false));
    SKUDefinition definition;
    definition.fromFile(folder / "sku.xml");
    EXPECT_EQ(definition.skuInfo.name, "a\nb\nc");
    definition.parse(xml);
    EXPECT_EQ(definition.skuInfo.name, "a\r\nb\rc");
}

TEST(SKUDefinition, TextComesThroughByteForByte) {
    const char* name = "\xC3\x89"
                       "clair \xE6\x97\xA5\xE6\x9C\xAC 'x' & y";
    const VLString attribute = "\"\xC3\x89"
                               "clair \xE6\x97\xA5\xE6\x9C\xAC 'x' &amp; y\"";
    for (const char* start : {"", "\xEF\xBB\xBF", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                              "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"}) {
        const VLString xml =
            VLString("<product><sku name=@/><families><family name=@><plugins><plugin name=@/>"
                     "</plugins></family></families><hosts><host name=@ families=@/></hosts>"
                     "<installFiles><directory fileName=@><file fileName=@/></directory>"
                     "</installFiles></product>")
                .Replace("@", attribute);
        SKUDefinition definition;
        definition.parse(VLString(start) + xml);
        EXPECT_EQ(definition.skuInfo.name, name) << start;
        EXPECT_THAT(definition.pluginsByFamily, ElementsAre(Pair(name, ElementsAre(name)))) << start;
        EXPECT_THAT(definition.hostNames, ElementsAre(name)) << start;
        EXPECT_TRUE(definition.familyHasHost(name, name)) << start;
        ASSERT_EQ(definition.installFiles.children.count(name), 1U) << start;
        EXPECT_EQ(definition.installFiles.children.at(name).children.at(name).parentName, name) << start;
    }
}

// Documents that mean harm

TEST(SKUDefinition, AnyByteAnywhereIsSurvived) {
    for (unsigned long position = 0; position < std::strlen(wholeDocument); ++position) {
        for (const char byte : {'<', '>', '&', '\'', '"', '/', '\xEF', '\xFF', ' '}) {
            std::string document = wholeDocument;
            document[position] = byte;
            expectConsistent(parsedText(document));
        }
    }
}

TEST(SKUDefinition, TooDeepADocumentGivesAnEmptyDefinition) {
    std::string deep = "<product><sku ID='1'/><installFiles>";
    std::string end;
    for (int i = 0; i < 100000; ++i) {
        deep += "<directory fileName='d'>";
        end += "</directory>";
    }
    expectEmpty(parsedText(deep + end + "</installFiles></product>"));
    expectEmpty(parsedText(deep));
}

TEST(SKUDefinition, AMaskOfManyDigitsIsRead) {
    const SKUDefinition definition =
        parsed(families(family("A", "<featuresmask name='" + std::string(800000, 'F') + "'/>")));
    EXPECT_EQ(definition.featuresMaskByFamily.at("A").Size(), 3200000U);
}
