// For each rule a product that it complains about, with the places, and a product next to it with which it is
// content.
#include "Tests/Inspector/Check/RuleExamples.h"

#include "Utility/InstallInspector/Check/Rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <tuple>

namespace {

constexpr Edit::File D = Edit::Definition;
constexpr Edit::File T = Edit::Targets;

std::string repeated(const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

const char* const edius = "<directory fileName=\"Edius\">";
const char* const guide = "<file fileName=\"Guide.html\">";
const char* const grey = "<file fileName=\"Grey.look\"/>";
const char* const paperElement = "<file fileName=\"Paper.txt\" arch=\"x86\"/>";
const char* const contentFolder = R"(<directory fileName="Content">
      <file fileName="Paper.txt" arch="x86"/>
    </directory>)";
const char* const familyFolder = R"(<directory fileName="Glow">
          <file fileName="Glow.plugin" ignoreinstallerrors="1"/>
        </directory>)";
const char* const exists = "<condition type=\"PathExist\" value=\"/Applications/Edius.app\"/>";
const char* const edPath = "<path value=\"/Library/Edius/%FAMILY%\">";
const char* const contentPath = "<path value=\"/Users/Shared/Vorlane\"/>";
const char* const sharedPath = "<path value=\"/Library/Application Support/Vorlane\"/>";

std::vector<Example> documentExamples() {
    return {
        {"not-well-formed", {{D, "</families>", "@@</familys>"}}, {}},
        {"not-well-formed", {{D, "", "@@"}}, {}},
        {"not-well-formed", {{D, "name=\"Alpha\"", "name=\"Caf@@\xE9\""}}, {}},
        {"not-well-formed", {{D, "ID=\"ALPHA\"", "ID=\"ALPHA\" @@ID=\"BETA\""}}, {}},
        {"not-well-formed", {{T, "", std::string("@@\xFF\xFE<\0r\0", 8)}}, {{T, "", "\xEF\xBB\xBF<root/>"}}},
        {"not-well-formed",
         {{T, "", "@@" + repeated("<root>", 1001) + repeated("</root>", 1001)}},
         {{T, "", repeated("<root>", 1000) + repeated("</root>", 1000)}}},
        {"no-root-element", {{D, "", "@@<Product/>"}}, {{D, "", "<!-- x --><product/>"}}},
        {"no-root-element", {{T, "", "@@<?xml version=\"1.0\"?>"}}, {{T, "", "<root/>"}}},
        {"unread-rest",
         {{D, "<product>", "<!DOCTYPE product [<!ELEMENT product ANY>@@]>\n<product>"}},
         {{D, "<product>", "<!DOCTYPE product>\n<product>"}}},
        {"unread-rest",
         {{T, "</root>\n", std::string("</root>\n@@\0<more/>", 17)}},
         {{T, "</root>", "</root>  "}}},
        {"stray-ampersand",
         {{D, "name=\"Alpha\"", "name=\"Alpha @@& @@&beta;\""}},
         {{D, "name=\"Alpha\"", "name=\"Alpha &amp; &#65;&#x41;&lt;&gt;&quot;&apos;\""},
          {D, "<families>", "<!-- a & b --><families>"}}},
        {"not-utf8",
         {{D, "name=\"Alpha\"", "@@name=\"Caf\xE9\""}, {D, "encoding=\"UTF-8\"", "encoding=\"ISO-8859-1\""}},
         {{D, "name=\"Alpha\"", "name=\"Caf\xC3\xA9 &#233;\""}}},
        {"not-utf8",
         {{T, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>", ""},
          {T, contentPath, "<path @@value=\"/Vorlane/&#233;\"/>"}},
         {{T, contentPath, "<path value=\"/Vorlane/&#233;\"/>"}}},
        {"unknown-element",
         {{D, "<families>", "@@<familys/><families>"}},
         {{D, "<families>", "<families><!-- -->"}}},
        {"unknown-element",
         {{D, guide,
           "<directory fileName=\"d\">@@<shortCut name=\"a\" dir=\"b\"/></directory>" + std::string(guide)}},
         {}},
        {"unknown-element",
         {{T, exists, "<condition type=\"And\">@@<Condition/>" + std::string(exists) + "</condition>"}},
         {}},
        {"unknown-element", {{T, "<root>", "<root>@@<path value=\"/a\"/>"}}, {}},
        {"unknown-attribute",
         {{D, grey, "<file fileName=\"Grey.look\" @@dontDelete=\"1\"/>"}},
         {{D, grey, "<file fileName=\"Grey.look\" dontdelete=\"1\" configuration=\"Release\"/>"}}},
        {"unknown-attribute",
         {{D, edius, "<directory fileName=\"Edius\" @@configuration=\"Release\">"}},
         {{D, "<product>",
           "<product xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
           "xsi:noNamespaceSchemaLocation=\"sku.xsd\">"}}},
        {"repeated-element",
         {{D, "<families>", "<families/>@@<families>"}},
         {{D, "<hosts>", "<!-- hosts --><hosts>"}}},
        {"repeated-element",
         {{T, exists, std::string(exists) + "@@" + exists}},
         {{T, exists, "<condition type=\"And\">" + std::string(exists) + exists + "</condition>"}}},
        {"hidden-element",
         {{D, "<families>", "<!--families-->@@<families>"}},
         {{D, "<families>", "<!-- families --><families>"}}},
        {"hidden-element",
         {{T, exists, "condition @@" + std::string(exists)}},
         {{T, exists, std::string(exists) + "condition"}}},
        {"stray-text",
         {{D, guide, "@@Guide" + std::string(guide)}},
         {{D, guide, "<!--Guide-->" + std::string(guide)}}},
    };
}

std::vector<Example> identityExamples() {
    return {
        {"no-id", {{D, "ID=\"ALPHA\"", "@@ID=\"\""}}, {{D, "ID=\"ALPHA\"", "ID=\"0\""}}},
        {"no-id", {{D, "<sku ID=\"ALPHA\"", "@@<sku"}}, {}},
        {"no-name",
         {{D, "<sku ID=\"ALPHA\" name=\"Alpha\"", "@@<sku ID=\"ALPHA\""}},
         {{D, "\"Alpha\"", "\" \""}}},
        {"no-name",
         {{D, "<product>", "@@<product>"},
          {D, "<sku ID=\"ALPHA\" name=\"Alpha\" build=\"1.0.0.100\" prefix=\"A\"/>", ""}},
         {}},
        {"slash-in-product-name",
         {{D, "name=\"Alpha\"", "@@name=\"In/Out\""}},
         {{D, "\"Alpha\"", "\"In:Out\""}}},
        {"common-id-case", {{D, "ID=\"ALPHA\"", "@@ID=\"Common\""}}, {{D, "\"ALPHA\"", "\"COMMON\""}}},
        {"common-definition-missing",
         {{D, "ID=\"ALPHA\"", "@@ID=\"COMMON\""}},
         {{D, "\"ALPHA\"", "\"COMMON\""},
          {D, guide,
           "<directory fileName=\"SKU\"><file fileName=\"COMMON.xml\"/></directory>" + std::string(guide)}}},
        {"build-not-comparable",
         {{D, "build=\"1.0.0.100\"", "@@build=\"1.0.100\""}},
         {{D, "1.0.0.100", "1.0.100001"}}},
        {"build-not-comparable", {{D, "build=\"1.0.0.100\"", "@@build=\"1.0.100000\""}}, {}},
        {"build-not-comparable", {{D, " build=\"1.0.0.100\"", ""}, {D, "<sku", "@@<sku"}}, {}},
        {"build-not-read-whole",
         {{D, "build=\"1.0.0.100\"", "@@build=\"1.0.0.100-beta\""}},
         {{D, "1.0.0.100", "5.0.120101"}}},
        {"build-not-read-whole", {{D, "build=\"1.0.0.100\"", "@@build=\"1.0.0.100.2\""}}, {}},
        {"build-out-of-range",
         {{D, "build=\"1.0.0.100\"", "@@build=\"1.0.0.2147483648\""}},
         {{D, "1.0.0.100", "1.0.0.2147483647"}}},
        {"build-out-of-range",
         {{D, "build=\"1.0.0.100\"", "@@build=\"1.0.202601312359\""}},
         {{D, "1.0.0.100", "1.0.0.00000000000100"}}},
        {"blank-at-end", {{D, "ID=\"ALPHA\"", "@@ID=\"ALPHA \""}}, {{D, "\"ALPHA\"", "\"ALPHA X\""}}},
        {"blank-at-end", {{D, "name=\"Alpha\"", "@@name=\" Alpha\""}}, {}},
        {"odd-blank",
         {{D, "name=\"Alpha\"", "@@name=\"Alpha\xC2\xA0Two\""},
          {T, contentPath, "<path @@value=\"/Users/Sha\xE2\x80\x8Bred\"/>"}},
         {{D, "name=\"Alpha\"", "name=\"\xE3\x82\xA2\xE3\x80\x80Two \xE2\x80\x94 \xC3\xA9\""}}},
        {"colon-in-name",
         {{D, "name=\"Alpha\"", "@@name=\"Alpha: Two\""}, {D, grey, "<file @@fileName=\"a:b\"/>"}},
         {{D, "name=\"Alpha\"", "name=\"Alpha - Two\""}}},
        {"placeholder-in-name",
         {{D, "name=\"Alpha\"", "@@name=\"Alpha %FAMILY%\""},
          {D, grey, "<file @@fileName=\"%user%.look\"/><file @@fileName=\"%REGKEY:a::b%\"/>"}},
         {{D, grey, "<file fileName=\"10% to 20% Grey.look\"/>"}}},
        {"other-products-definition",
         {{D, guide,
           "<directory fileName=\"SKU\"><file @@fileName=\"COMMON.xml\"/></directory>" + std::string(guide)}},
         {{D, guide,
           "<directory fileName=\"SKU\"><file fileName=\"ALPHA.xml\"/></directory>" + std::string(guide)}}},
        {"other-products-definition",
         {{D, guide,
           "<directory fileName=\"SKU\"><file @@fileName=\"BETA.xml\"/></directory>" + std::string(guide)}},
         {{D, guide,
           "<directory fileName=\"SKU\"><file fileName=\"Readme.txt\"/></directory>" + std::string(guide)}}},
        {"other-products-definition",
         {{D, guide,
           "<directory fileName=\"SKU\"><file @@fileName=\"common.xml\"/></directory>" + std::string(guide)}},
         {{D, "\"ALPHA\"", "\"COMMON\""},
          {D, guide,
           "<directory fileName=\"SKU\"><file fileName=\"COMMON.xml\"/></directory>" + std::string(guide)}}},
        {"common-application-manager",
         {{D, "ID=\"ALPHA\"", "@@ID=\"COMMON\""},
          {D, guide,
           "<directory fileName=\"Common\"><file fileName=\"Manager.app\"/></directory>" +
               std::string(guide)}},
         {{D, "ID=\"ALPHA\"", "ID=\"COMMON\""},
          {D, guide,
           "<directory fileName=\"Common\"><directory fileName=\"ApplicationManager.app\"/></directory>" +
               std::string(guide)}}},
        {"common-application-manager",
         {{D, "ID=\"ALPHA\"", "@@ID=\"COMMON\""}},
         {{D, "ID=\"ALPHA\"", "ID=\"COMMON\""},
          {D, guide, "<directory fileName=\"Common\"/>" + std::string(guide)}}},
        {"common-status-folder",
         {{D, "\"ALPHA\"", "\"COMMON\""}, {T, sharedPath, "<path @@value=\"/Library/Vorlane\"/>"}},
         {{D, "\"ALPHA\"", "\"COMMON\""},
          {T, sharedPath, "<path value=\"/Library/Application Support/Vorlane/\"/>"}}},
        {"common-status-folder",
         {{D, "\"ALPHA\"", "\"COMMON\""},
          {T, "<item name=\"Looks\">",
           "<item @@name=\"SKU\"><path value=\"/a\"/></item><item name=\"Looks\">"}},
         {{T, sharedPath, "<path value=\"/Library/Vorlane\"/>"}}},
        {"record-in-tree",
         {{D, guide, "<file @@fileName=\"InstallationStatusFile.xml\"/>" + std::string(guide)}},
         {{D, grey, "<file fileName=\"InstallationStatusFile.xml\"/>"}}},
        {"record-in-tree",
         {{D, paperElement,
           "<directory fileName=\"Vorlane\"><file @@fileName=\"installationstatusfile.xml\"/></directory>"},
          {T, contentPath, "<path value=\"/Library/Application Support\"/>"}},
         {{D, paperElement,
           "<directory fileName=\"Vorlane\"><file fileName=\"InstallationStatusFile.xml\"/></directory>"}}},
    };
}

std::vector<Example> familyAndHostExamples() {
    return {
        {"missing-attribute",
         {{D, "<plugins>", "<plugins>@@<plugin/>"}, {D, "<families>", "<families>@@<family/>"}},
         {{D, "<plugins>", "<plugins><plugin name=\"p\"/>"}}},
        {"missing-attribute", {{D, grey, "<file @@fileName=\"\"/>"}}, {}},
        {"missing-attribute", {{D, "<featuresmask name=\"1FFFFFFFF\"/>", "@@<featuresmask/>"}}, {}},
        {"host-family-unknown", {{D, "families=\"Glow\"", "@@families=\"Glow,Glow\""}}, {}},
        {"host-not-in-tree",
         {{D, "<hosts>", "<hosts><host @@name=\"OpenFX\"/>"}},
         {{D, "<hosts>", "<hosts><host name=\"Edus\"/>"}}}, // unknown-host says it
        {"host-not-in-tree",
         {{D, "<host name=\"Edius\" families=\"Glow\" arch=\"x64\"",
           "<host @@name=\"Edius\" families=\"Glow\" arch=\"x86;x64\""}},
         {{D, "<hosts>", "<hosts><host name=\"\"/>"}}},
        {"host-not-listed",
         {{D, edius,
           "<directory @@fileName=\"OpenFX\"><directory fileName=\"Glow\"/></directory>" +
               std::string(edius)}},
         {{D, edius,
           "<directory fileName=\"OpenFX\"><directory fileName=\"Glow\"/></directory>" + std::string(edius)},
          {D, "<host name=\"Edius\" families=\"Glow\" arch=\"x64\" compilerOptions=\"-O2\"/>", ""}}},
        {"host-not-listed",
         {{D, edius,
           "<directory @@fileName=\"Edius32\"><directory fileName=\"Glow\"/></directory>" +
               std::string(edius)}},
         {{D, edius,
           "<directory fileName=\"Edius32\"><directory fileName=\"Glow\"/></directory>" + std::string(edius)},
          {D, "arch=\"x64\"", "arch=\"x86;x64\""}}},
        {"family-not-in-tree",
         {{D, "</families>",
           "<family @@name=\"Ink\"><plugins><plugin name=\"p\"/></plugins></family></families>"}},
         {{D, "</families>", "<family name=\"Ink\"/></families>"}}},
        {"family-not-in-tree",
         {{D, "</families>",
           "<family @@name=\"glow\"><plugins><plugin name=\"p\"/></plugins></family></families>"}},
         {{D, "<directory fileName=\"Hosts\">", "<directory>"}}},
        {"host-family-not-in-tree",
         {{D, "families=\"Glow\"", "@@families=\"Glow;Ink\""},
          {D, "</families>",
           "<family name=\"Ink\"><plugins><plugin name=\"p\"/></plugins></family></families>"}},
         {{D, "families=\"Glow\"", ""},
          {D, "</families>",
           "<family name=\"Ink\"><plugins><plugin name=\"p\"/></plugins></family></families>"}}},
        {"host-family-not-listed",
         {{D, edius, std::string(edius) + "<directory @@fileName=\"Ink\"/>"},
          {D, "</families>",
           "<family name=\"Ink\"><plugins><plugin name=\"p\"/></plugins></family></families>"}},
         {{D, edius, std::string(edius) + "<directory fileName=\"Ink\"/>"},
          {D, "families=\"Glow\"", ""},
          {D, "</families>",
           "<family name=\"Ink\"><plugins><plugin name=\"p\"/></plugins></family></families>"}}},
        {"plugin-in-two-families",
         {{D, "</families>",
           "<family name=\"Ink\"><plugins><plugin @@name=\"Glow One\"/></plugins></family></families>"}},
         {{D, "<plugins>", "<plugins><plugin name=\"Glow One\"/>"}}},
        {"arch-against-name",
         {{D, "<directory fileName=\"Edius\">", "<directory fileName=\"Edius\" @@arch=\"x86\">"}},
         {{D, "<directory fileName=\"Edius\">", "<directory fileName=\"Edius\" arch=\"x86;x64\">"}}},
        {"arch-against-name",
         {{D, edius,
           "<directory fileName=\"Edius32\"><directory fileName=\"Glow\"><file fileName=\"a\" "
           "@@arch=\"x64\"/></directory></directory>" +
               std::string(edius)}},
         {{D, edius,
           "<directory fileName=\"Edius32\" arch=\"x86\"><directory fileName=\"Glow\"/></directory>" +
               std::string(edius)}}},
        {"arch-against-name",
         {{D, "<hosts>", "<hosts><host @@name=\"Edius32\"/>"}},
         {{D, "<hosts>", "<hosts><host name=\"Studio 32\"/>"},
          {D, edius,
           "<directory fileName=\"Studio 32\" arch=\"x64\"><directory fileName=\"Glow\"/></directory>" +
               std::string(edius)}}},
        {"family-without-plugins",
         {{D, "<families>", "<families><family @@name=\"Ink\"/>"}},
         {{D, "<families>",
           "<families><family name=\"Ink\"><plugins><plugin name=\"p\"/></plugins></family>"}}},
        {"unknown-family", {{D, "<directory fileName=\"Glow\">", "<directory @@fileName=\"glow\">"}}, {}},
        {"unknown-family",
         {{D, "<plugins><plugin name=\"Glow One\"/></plugins>", ""},
          {D, "<directory fileName=\"Glow\">", "<directory @@fileName=\"Glow\">"}},
         {{D, "<contents><content name=\"Looks\"/></contents>", ""}}},
        {"host-family-unknown",
         {{D, "families=\"Glow\"", "@@families=\"Glow;Ink\""}},
         {{D, "families=\"Glow\"", "families=\"Glow;;\""}}},
        {"unknown-host",
         {{D, "<host name=\"Edius\"", "<host @@name=\"EDIUS\""}},
         {{D, "<host name=\"Edius\"", "<host name=\"Premiere Pro\""}}},
        {"unknown-host",
         {{D, edius,
           "<directory @@fileName=\"Premier Pro\"><directory fileName=\"Glow\"/></directory>" +
               std::string(edius)}},
         {{D, edius,
           "<directory fileName=\"Edius32\"/><directory fileName=\"Resolve\"/>" + std::string(edius)}}},
        {"unknown-host",
         {{D, "<host name=\"Edius\"", "<host @@name=\"Edius X\""}},
         {{D, "<hosts>", "<!-- inspector: host Edius X --><hosts>"},
          {D, "<host name=\"Edius\"", "<host name=\"Edius X\""}}},
        {"unknown-host",
         {{T, "<item name=\"Hosts\">", "<item name=\"Hosts\"><item @@name=\"Premiere\"/>"}},
         {}},
        {"arch-value", {{D, "arch=\"x64\"", "@@arch=\"arm64\""}}, {{D, "arch=\"x64\"", "arch=\"X86;x64\""}}},
        {"compiler-options-lost",
         {{D, "compilerOptions", "@@compilerOptions"},
          {D, "<installFiles>", "<hostsForBuild/><installFiles>"}},
         {{D, "<installFiles>",
           "<hostsForBuild><host name=\"Edius\" compilerOptions=\"-g\"/></hostsForBuild><installFiles>"}}},
        {"features-mask",
         {{D, "name=\"1FFFFFFFF\"", "@@name=\"zz00000001\""}},
         {{D, "name=\"1FFFFFFFF\"", "name=\"abcdefABCDEF0123456789\""}}},
    };
}

std::vector<Example> nameExamples() {
    std::vector<Example> examples = {
        {"control-character",
         {{D, grey, "<file @@fileName=\"Gr&#10;ey.look\"/>"}},
         {{D, grey,
           "<file fileName=\"Gr\xC3\xAB"
           "y.look\"/>"}}},
        {"control-character", {{D, "name=\"Alpha\"", "@@name=\"Al&#9;pha\""}}, {}},
        {"name-is-path",
         {{D, grey, "<file @@fileName=\"a/b.look\"/><directory @@fileName=\"..\"/>"}},
         {{D, grey, "<file fileName=\"...\"/>"}}},
        {"name-is-path", {{D, "name=\"Guide.html\"", "@@name=\"Docs/Guide.html\""}}, {}},
        {"name-too-long",
         {{D, grey, "<file @@fileName=\"" + std::string(256, 'a') + "\"/>"}},
         {{D, grey, "<file fileName=\"" + std::string(255, 'a') + "\"/>"}}},
        {"blank-at-end",
         {{D, grey, "<file @@fileName=\"Grey.look \"/>"}},
         {{D, grey, "<file fileName=\"Light Grey.look\"/>"}}},
        {"duplicate-name",
         {{D, grey,
           "<directory @@fileName=\"G\"/>\n<file @@fileName=\"G\"/><file fileName=\"G\"/><directory "
           "@@fileName=\"G\"/>"}},
         {{D, grey, "<file fileName=\"G\"/><file fileName=\"g2\"/>"}}},
        {"duplicate-name",
         {{D, "</families>", "<family @@name=\"Glow\"/></families>"},
          {D, "<host name=\"Edius\"", "<host @@name=\"Edius\"/><host name=\"Edius\""}},
         {}},
        {"look-alike-names",
         {{D, grey, "<file fileName=\"caf\xC3\xA9\"/>\n<file @@fileName=\"cafe\xCC\x81\"/>"}},
         {{D, grey, "<file fileName=\"caf\xC3\xA9\"/><file fileName=\"cafe\"/>"}}},
        {"look-alike-names",
         {{D, grey, "<file fileName=\"a b\"/><file @@fileName=\"a\xC2\xA0\x62\"/>"}},
         {{D, grey, "<file fileName=\"a b\"/><file fileName=\"ab\"/>"}}},
        {"case-conflict",
         {{D, grey, "<file fileName=\"Grey.look\"/><file @@fileName=\"grey.look\"/>"}},
         {{D, paperElement, std::string(paperElement) + "<directory fileName=\"looks\"/>"}}},
    };
    const std::string digest(64, 'a');
    const std::string sound = "size=\"1\" sha256=\"" + digest + "\"/>";
    const std::string whole = "<file fileName=\"Grey.look\"><part path=\"a\" " + sound;
    for (const std::string& bad : {
             "@@<file fileName=\"G\" size=\"x\" sha256=\"" + digest + "\"/>",
             "@@<file fileName=\"G\" sha256=\"" + digest + "\"/>",
             std::string("@@<file fileName=\"G\" size=\"1\"/>"),
             "@@<file fileName=\"G\" size=\"1\" sha256=\"" + std::string(64, 'A') + "\"/>",
             whole + "@@<part path=\"a\" " + sound + "</file>",
             whole + "@@<part " + sound + "</file>",
             whole + "@@<part path=\"b\" link=\"\"/></file>",
             whole + "@@<part path=\"b\" link=\"c\" size=\"1\"/></file>",
             whole + "@@<part path=\"b\"/></file>",
             "<file fileName=\"G\" size=\"1\" sha256=\"" + digest + "\">@@<part path=\"a\" " + sound +
                 "</file>",
             "<file fileName=\"G\"/>@@<part path=\"a\" " + sound,
         }) {
        examples.push_back({"manifest-value",
                            {{D, grey, bad}},
                            {{D, grey, whole + "<part path=\"b/c\" link=\"d\"/></file>"}}});
    }
    for (const char* character : {"&quot;", "$", "`", "\\"}) {
        examples.push_back({"shell-character",
                            {{D, grey, std::string("<file @@fileName=\"a") + character + "b\"/>"}},
                            {{D, grey, "<file fileName=\"a'b &amp; (c) *?!;|.look\"/>"}}});
    }
    examples.push_back({"shell-character", {{D, "name=\"Guide.html\"", "@@name=\"$Guide.html\""}}, {}});
    return examples;
}

std::vector<Example> treeExamples() {
    std::vector<Example> examples = {
        {"nothing-to-install",
         {{D, "", "<product>@@<installFiles/></product>"}},
         {{D, "", "<product><installFiles><file fileName=\"a\"/></installFiles></product>"}}},
        {"nothing-to-install", {{D, "", "@@<product/>"}}, {}},
        {"never-copied",
         {{D, "<installFiles>", "<installFiles><directory @@fileName=\"Docs\"/><file @@fileName=\"a\"/>"}},
         {{D, "<installFiles>", "<installFiles><directory/>"}}},
        {"never-copied", {{D, "<directory fileName=\"Content\">", "<directory @@fileName=\"content\">"}}, {}},
        {"never-copied", {{D, "</installFiles>", "<file @@fileName=\"VorlaneFX\"/></installFiles>"}}, {}},
        {"never-copied",
         {{D, edius, "<file @@fileName=\"r.txt\"/>" + std::string(edius) + "<file @@fileName=\"r.txt\"/>"}},
         {}},
        {"empty-host",
         {{D, edius, "<directory @@fileName=\"OpenFX\"/>" + std::string(edius)}},
         {{D, edius,
           "<directory fileName=\"OpenFX\"><directory fileName=\"Glow\"/></directory>" +
               std::string(edius)}}},
        {"shortcut-incomplete",
         {{D, " dir=\"/Applications\"", ""}, {D, "<shortCut", "@@<shortCut"}},
         {{D, "name=\"Guide.html\"", "name=\"Other.html\""}}},
        {"shortcut-incomplete", {{D, "<shortCut name=\"Guide.html\"", "<shortCut @@name=\"\""}}, {}},
        {"shortcut-dir-ignored",
         {{D, "dir=\"/Applications\"", "@@dir=\"/Desktop\""}},
         {{D, "\"/Applications\"", "\"/Applications/\""}}},
        {"duplicate-shortcut",
         {{D, grey,
           "<file fileName=\"Grey.look\"><shortCut name=\"guide.html\" dir=\"/Applications\"/></file>"},
          {D, "<shortCut name=\"Guide.html\"", "<shortCut @@name=\"Guide.html\""}},
         {{D, grey, "<file fileName=\"Grey.look\"><shortCut name=\"guide.html\"/></file>"}}},
        {"shortcut-stays",
         {{D, guide, "<file fileName=\"Guide.html\" dontdelete=\"1\">"},
          {D, "<shortCut name", "<shortCut @@name"}},
         {{D, grey, "<file fileName=\"Grey.look\" dontdelete=\"1\"/>"}}},
        {"shortcut-stays",
         {{D, "<directory fileName=\"VorlaneFX\">", "<directory fileName=\"VorlaneFX\" dontdelete=\"1\">"},
          {D, guide, "<file fileName=\"Guide.html\" dontdelete=\"0\">"},
          {D, "<shortCut name", "<shortCut @@name"}},
         // Above the family no uninstall looks at the flag.
         {{D, "<directory fileName=\"Edius\">", "<directory fileName=\"Edius\" dontdelete=\"1\">"},
          {D, "<directory fileName=\"Glow\">",
           "<directory fileName=\"Glow\" dontdelete=\"0\"><file fileName=\"a\"><shortCut name=\"a\" "
           "dir=\"/Applications\"/></file>"}}},
        {"shortcut-name-taken",
         {{D, "<shortCut name=\"Guide.html\"", "<shortCut @@name=\"vorlane uninstallers\""}},
         {{D, "<shortCut name=\"Guide.html\"", "<shortCut name=\"Vorlane Uninstallers.html\""}}},
        {"dontdelete-undone",
         {{D, "<directory fileName=\"Looks\">", "<directory fileName=\"Looks\" dontdelete=\"1\">"},
          {D, grey, "<file fileName=\"Grey.look\" @@dontdelete=\"0\"/>"}},
         {{D, "<directory fileName=\"Edius\">", "<directory fileName=\"Edius\" dontdelete=\"1\">"},
          {D, "<directory fileName=\"Glow\">", "<directory fileName=\"Glow\" dontdelete=\"0\">"}}},
        {"no-shared-folder",
         {{D, "", "<product>@@<installFiles><directory fileName=\"Content\"/></installFiles></product>"}},
         {{D, "", "<product><installFiles><directory fileName=\"VorlaneFX\"/></installFiles></product>"}}},
    };
    for (const char* flag : {"dontdelete", "ignoreinstallerrors", "allowdowngrade"}) {
        for (const char* value : {"true", "", "2", "01", " 1"}) {
            examples.push_back(
                {"flag-value",
                 {{D, grey, std::string("<file fileName=\"Grey.look\" @@") + flag + "=\"" + value + "\"/>"}},
                 {{D, grey, std::string("<file fileName=\"Grey.look\" ") + flag + "=\"0\"/>"}}});
        }
    }
    examples.push_back(
        {"flag-value", {{D, edius, "<directory fileName=\"Edius\" @@dontdelete=\"yes\">"}}, {}});
    return examples;
}

std::string path(const std::string& value) {
    return "<path value=\"" + value + "\"/>";
}

std::string markedPath(const std::string& value) {
    return "<path @@value=\"" + value + "\"/>";
}

/// A condition in the place of the clean product's.
Edit condition(const std::string& xml) {
    return {T, exists, xml};
}

std::vector<Example> conditionExamples() {
    return {
        {"condition-without-value",
         {condition("@@<condition type=\"PathNotExist\"/>")},
         {condition("<condition type=\"And\"/>")}},
        {"condition-without-value", {condition("<condition type=\"RegKeyExist\" @@value=\"\"/>")}, {}},
        {"unknown-condition-type",
         {condition("<condition @@type=\"Path Exist\" value=\"/a\"/>")},
         {condition("<condition type=\"PATHEXIST\" value=\"/a\"/>")}},
        {"unknown-condition-type", {condition("@@<condition value=\"/a\"/>")}, {}},
        {"unknown-condition-type",
         {condition("<condition type=\"Or\"><condition @@type=\"Exists\" value=\"/a\"/></condition>")},
         {}},
        {"no-operands",
         {condition("<condition @@type=\"Or\"/>")},
         {condition("<condition type=\"Or\"><condition type=\"PathExist\" value=\"/a\"/></condition>")}},
        {"no-operands",
         {condition("<condition type=\"And\"><condition @@type=\"And\"/>" + std::string(exists) +
                    "</condition>")},
         {}},
        {"operands-ignored",
         {condition("<condition @@type=\"PathExist\" value=\"/a\">" + std::string(exists) + "</condition>")},
         {condition("<condition type=\"and\">" + std::string(exists) + "</condition>")}},
        {"value-ignored",
         {condition("<condition type=\"And\" @@value=\"/a\">" + std::string(exists) + "</condition>")},
         {condition("<condition type=\"And\">" + std::string(exists) + "</condition>")}},
        {"operand-name",
         {condition("<condition type=\"And\">" + std::string(exists) +
                    "@@<Condition type=\"FileExist\" value=\"/a\"/></condition>")},
         {condition("<condition type=\"And\"><Condition type=\"FileExist\" value=\"/a\"/>" +
                    std::string(exists) + "</condition>")}},
        {"family-in-condition",
         {condition("<condition type=\"PathExist\" @@value=\"/a/%FAMILY%\"/>")},
         {condition("<condition type=\"PathExist\" value=\"/a/%USER%\"/>")}},
        {"registry-test-without-placeholder",
         {condition("<condition type=\"RegKeyExist\" @@value=\"Edius::Folder\"/>")},
         {condition("<condition type=\"RegKeyNotExist\" value=\"%REGKEY:Edius::Folder%\"/>")}},
        {"registry-test-without-placeholder",
         {condition("<condition type=\"RegKeyNotExist\" @@value=\"%REGKEY:Edius::Folder%/x\"/>")},
         {}},
        {"bundle-as-file",
         {condition("<condition @@type=\"FileExist\" value=\"/Applications/Edius.app\"/>")},
         {condition(
             "<condition type=\"FileExist\" value=\"/Applications/Edius.app/Contents/Info.plist\"/>")}},
        {"bundle-as-file", {condition("<condition @@type=\"FileNotExist\" value=\"/Applications/\"/>")}, {}},
    };
}

/// Conditions that contradict themselves, or look at what the product installs.
std::vector<Example> machineExamples() {
    const std::string alone = "<condition @@type=\"PathNotExist\" value=\"/Applications/Edius.app\"/>";
    const auto both = [](const std::string& type, const std::string& a, const std::string& b) {
        return condition("<condition @@type=\"" + type + "\">" + a + b + "</condition>");
    };
    const auto is = [](const std::string& type, const std::string& value) {
        return "<condition type=\"" + type + "\" value=\"" + value + "\"/>";
    };
    const auto marked = [](const std::string& type, const std::string& value) {
        return "<condition @@type=\"" + type + "\" value=\"" + value + "\"/>";
    };
    const std::string app = "/Applications/Edius.app";
    return {
        {"condition-never-holds",
         {both("And", is("PathExist", app), is("PathNotExist", app))},
         {condition("<condition type=\"Or\">" + is("PathExist", app) + is("PathNotExist", app) +
                    "</condition>")}},
        {"condition-never-holds",
         {both("And", is("PathNotExist", "/Library/OFX"), is("FileExist", "/Library/OFX/a"))},
         {condition("<condition type=\"And\">" + is("PathExist", "/Library/OFX") +
                    is("FileNotExist", "/Library/OFX/a") + "</condition>")}},
        {"condition-never-holds",
         {both("And", is("PathExist", app), is("FileExist", app))},
         {condition("<condition type=\"And\">" + is("RegKeyExist", "%REGKEY:a::b%") +
                    is("RegKeyNotExist", "%REGKEY:a::c%") + "</condition>")}},
        // What other rules say is not said twice.
        {"condition-never-holds",
         {both("And", is("RegKeyExist", "%REGKEY:a::b%"), is("RegKeyNotExist", "%REGKEY:a::b%"))},
         {condition("<condition type=\"Or\"/>")}},
        {"registry-path-unguarded",
         {{T, contentPath, markedPath("%REGKEY:Content::Folder%/Vorlane")}},
         {{T, contentPath, path("%REGKEY:Content::Folder%")}}},
        {"registry-path-unguarded",
         {{T, contentPath,
           "<path @@value=\"%REGKEY:Content::Folder%/Vorlane\">" +
               is("RegKeyExist", "%REGKEY:Content::Other%") + "</path>"}},
         {{T, contentPath,
           "<path value=\"%REGKEY:Content::Folder%/Vorlane\">" +
               is("PathExist", "%REGKEY:Content::Folder%/Vorlane") + "</path>"}}},
        {"registry-path-unguarded",
         {{T, contentPath,
           "<path @@value=\"%REGKEY:Content::Folder%/Vorlane\"><condition type=\"Or\">" +
               is("RegKeyExist", "%REGKEY:Content::Folder%") + is("PathExist", app) + "</condition></path>"}},
         {{T, contentPath,
           "<path value=\"%REGKEY:Content::Folder%/Vorlane\"><condition type=\"And\">" +
               is("RegKeyExist", "%REGKEY:content::Folder%") + is("PathExist", app) +
               "</condition></path>"}}},
        // The target itself, a folder above it, and a file of the tree.
        {"condition-on-own-target",
         {{T, contentPath,
           "<path value=\"/Users/Shared/Vorlane\">" + marked("PathNotExist", "/Users/Shared/Vorlane") +
               "</path>"}},
         {{T, contentPath,
           "<path value=\"/Users/Shared/Paper\">" + is("PathExist", "/Users/Shared/Paper") + "</path>"}}},
        {"condition-on-own-target",
         {{T, contentPath,
           "<path value=\"/Library/OFX/Plugins\">" + marked("PathNotExist", "/Library/OFX") + "</path>"}},
         {{T, contentPath,
           "<path value=\"/Library/OFX/Plugins\">" + is("PathExist", "/Library/OFX") +
               "</path><path value=\"/Users/Shared\">" + is("PathNotExist", "/Library/OFX") + "</path>"}}},
        {"condition-on-own-target",
         {{T, contentPath,
           "<path value=\"/Users/Shared/Vorlane\">" +
               marked("FileNotExist", "/users/shared/vorlane/paper.txt") + "</path>"}},
         {{T, contentPath,
           "<path value=\"/Users/Shared/Vorlane\">" + is("FileNotExist", "/Users/Shared/Vorlane/no.txt") +
               "</path>"}}},
        {"condition-on-own-target",
         {{T, contentPath,
           "<path value=\"/a\">" + marked("PathExist", "/Library/Application Support/Vorlane") + "</path>"}},
         {{T, contentPath,
           "<path value=\"/a\">" + is("PathExist", "/Library/Application Support") + "</path>"}}},
        {"condition-on-own-target",
         {{T, contentPath,
           "<path value=\"/a\">" +
               marked("FileNotExist", "/Library/Application Support/Vorlane/InstallationStatusFile.xml") +
               "</path>"}},
         {{T, contentPath,
           "<path value=\"/a\">" + is("FileNotExist", "/Library/InstallationStatusFile.xml") + "</path>"}}},
        {"condition-on-own-target",
         {{T, contentPath,
           "<path value=\"/a\">" + marked("FileExist", "/Applications/Guide.html") + "</path>"}},
         {}},
        {"condition-on-own-target",
         {{T, contentPath,
           "<path value=\"/Library/Vorlane/a\">" + marked("PathExist", "/Library/Vorlane/a") + "</path>"}},
         {{T, contentPath,
           "<path value=\"/Library/Vorlane/a\">" + is("PathExist", "/Library/a") + "</path>"}}},
        {"condition-on-own-target",
         {{T, contentPath,
           "<path value=\"/a\"><condition @@type=\"And\">" + is("PathExist", app) +
               is("PathNotExist", "/Applications/Vorlane Uninstallers/Uninstall Alpha.app") +
               "</condition></path>"}},
         {{T, contentPath,
           "<path value=\"/a\">" + is("PathExist", "/Applications/Vorlane Uninstaller") + "</path>"}}},
        {"target-not-writable",
         {{T, contentPath, markedPath("/Vorlane/Content")}},
         {{T, contentPath, path("/users/Shared")}, {T, sharedPath, path("/usr/local/Vorlane")}}},
        {"target-not-writable", {{T, contentPath, markedPath("/")}}, {{T, contentPath, path("/Library")}}},
        {"target-in-application",
         {{T, contentPath, markedPath("/Applications/Edius.app/Contents/PlugIns")}},
         {{T, contentPath, path("/Applications/Vorlane Player.app/Contents/Looks")}}},
        {"unknown-ignore",
         {{D, guide, "@@<!-- inspector: ignore flagvalue -->" + std::string(guide)}},
         {{D, guide, "<!-- inspector says: ignore this -->" + std::string(guide)}}},
        {"unknown-ignore", {{T, exists, "@@<!-- inspector: skip -->" + std::string(exists)}}, {}},
        {"unused-ignore",
         {{D, guide, "@@<!-- inspector: ignore flag-value -->" + std::string(guide)}},
         {{D, guide,
           "<!-- inspector: ignore flag-value --><file fileName=\"Guide.html\" dontdelete=\"yes\">"}}},
        // It speaks for the element behind it alone.
        {"unused-ignore",
         {{D, "<directory fileName=\"Looks\">",
           "@@<!-- inspector: ignore flag-value --><directory fileName=\"Looks\">"},
          {D, grey, "<file fileName=\"Grey.look\" dontdelete=\"yes\"/>"}},
         {}},
        {"flag-value",
         {{D, grey,
           "<!-- inspector: ignore flag-value --><file fileName=\"a\"/><file fileName=\"b\" "
           "@@dontdelete=\"yes\"/>"}},
         {{D, grey,
           "<!-- inspector: ignore shell-character flag-value --><!-- why --><file fileName=\"a\" "
           "dontdelete=\"yes\"/>"}}},
    };
}

std::vector<Example> patternExamples() {
    return {
        {"unknown-placeholder",
         {{T, contentPath, markedPath("/Vorlane/%HOME%/%user %")}},
         {{T, contentPath, path("/Vorlane/%user%")}}},
        {"unknown-placeholder",
         {{T, contentPath, markedPath("/Vorlane/%family%")}},
         {{T, contentPath, path("/Vorlane/%FAMILY%")}}},
        {"unknown-placeholder",
         {{T, contentPath, markedPath("/Vorlane/%regkey:a::b%")}},
         {condition("<condition type=\"PathExist\" value=\"/a/%FAMILY%\"/>")}},
        {"registry-placeholder",
         {{T, contentPath, markedPath("%REGKEY:Content%/Vorlane")}},
         {{T, contentPath, path("%REGKEY:Content::Folder%/Vorlane")}}},
        {"registry-placeholder",
         {{T, contentPath, markedPath("%XREGKEY:Content::Folder%/Vorlane")}},
         {{T, contentPath, path("%REGKEY:a/b c::d::e%/Vorlane")}}},
        {"registry-placeholder", {{T, contentPath, markedPath("%REGKEY:::Folder%/Vorlane")}}, {}},
        {"registry-placeholder", {{T, contentPath, markedPath("%REGKEY:Content::%/Vorlane")}}, {}},
        {"lone-percent",
         {{T, contentPath, markedPath("/Vorlane/100%")}},
         {{T, contentPath, path("/Vorlane/%USER%")}}},
        {"relative-path",
         {{T, contentPath, markedPath("Library/Vorlane")}},
         {{T, contentPath, path("%REGKEY:Content::Folder%")}}},
        {"relative-path", {{T, contentPath, markedPath("~/Vorlane")}}, {}},
        {"relative-path", {{T, contentPath, markedPath("%USER%/Vorlane")}}, {}},
        {"relative-path",
         {condition("<condition type=\"PathExist\" @@value=\"Applications\"/>")},
         {condition("<condition type=\"RegKeyExist\" value=\"Applications\"/>")}},
        {"shell-character-in-path",
         {{T, contentPath, markedPath("$HOME/Vorlane")}},
         {{T, contentPath, path("%REGKEY:Vorlane\\Content::Folder%/Vorlane's (x)")}}},
        {"control-character-in-path",
         {{T, contentPath, markedPath("/Users/Shared\n/Vorlane")}},
         {{T, contentPath, path("/Users/Shared/Vorlane ")}}},
    };
}

std::vector<Example> itemExamples() {
    return {
        {"item-without-name",
         {{T, "<root>", "<root>@@<item/><item @@name=\"\"/>"}},
         {{T, "<root>", "<root><!-- -->"}}},
        {"path-without-value",
         {{T, contentPath, std::string(contentPath) + "@@<path/>"}},
         {{T, contentPath, path("/Vorlane")}}},
        {"duplicate-item",
         {{T, "<item name=\"Content\">", "<item @@name=\"Content\"/><item name=\"Content\">"}},
         {{T, "<item name=\"Edius\">", "<item name=\"Content\"/><item name=\"Edius\">"}}},
        {"item-case-conflict",
         {{T, "<item name=\"Content\">", "<item name=\"content\"/><item @@name=\"Content\">"}},
         {{T, "<item name=\"Edius\">", "<item name=\"content\"/><item name=\"Edius\">"}}},
        {"duplicate-path",
         {{T, contentPath, std::string(contentPath) + markedPath("/users/shared/vorlane")}},
         {{T, edPath,
           "<path value=\"/Library/Edius/%FAMILY%\">" + std::string(exists) + "</path>" + edPath}}},
        {"unknown-item",
         {{T, "<item name=\"Content\">", "<item @@name=\"Contents\">"}},
         {{T, "<item name=\"Content\">", "<item>"}}},
        {"hosts-path",
         {{T, "<item name=\"Hosts\">", "<item name=\"Hosts\">@@<path value=\"/Vorlane\"/>"}},
         {{T, "<item name=\"Hosts\">", "<item name=\"Hosts\"><path value=\"\"/>"}}},
        {"no-record", {{T, "<root>", "@@<root>"}, {T, "name=\"VorlaneFX\"", "name=\"Vorlane\""}}, {}},
        {"no-record",
         {{T, sharedPath, "<path/>"}, {T, "name=\"VorlaneFX\"", "@@name=\"VorlaneFX\""}},
         {{T, sharedPath, path("/Vorlane")}}},
        {"record-moves",
         {{T, sharedPath,
           "<path value=\"\"/>@@<path value=\"/Vorlane\">" +
               std::string("<condition type=\"PathExist\" value=\"/x\"/></path>")}},
         {{T, sharedPath,
           sharedPath +
               std::string("<path value=\"/Vorlane\"><condition type=\"PathExist\" value=\"/x\"/></path>")}}},
        {"record-moves", {{T, sharedPath, "@@<path value=\"/Users/%USER%/Vorlane\"/>"}}, {}},
    };
}

std::vector<Example> crossExamples() {
    const std::string openFX = "<directory fileName=\"OpenFX\"><directory fileName=\"Glow\"><file "
                               "fileName=\"Glow.plugin\"/></directory></directory>";
    const std::string openFXItem = "<item name=\"OpenFX\"><path value=\"/Library/Edius/%FAMILY%\">";
    const std::string secondFamily =
        "<family name=\"Ink\"><plugins><plugin name=\"p\"/></plugins></family></families>";
    return {
        {"host-without-target",
         {{T, "<item name=\"Edius\">", "<item name=\"edius\">"},
          {D, edius, "<directory @@fileName=\"Edius\">"}},
         {{D, edius, "<directory fileName=\"Edius\" arch=\"x64\">"}}},
        {"target-without-host",
         {{T, "<item name=\"Hosts\">", "<item name=\"Hosts\"><item @@name=\"OpenFX\"/>"}},
         {{T, "<item name=\"Hosts\">", "<item name=\"Hosts\"><item name=\"\"/>"}}},
        {"content-without-target",
         {{T, "<item name=\"Content\">", "<item name=\"content\">"},
          {D, "<directory fileName=\"Content\">", "<directory @@fileName=\"Content\">"}},
         {{D, "<directory fileName=\"Content\">", "<directory fileName=\"content\">"}}},
        {"target-without-content",
         {{D, "<directory fileName=\"Content\">", "<directory fileName=\"content\">"},
          {T, "<item name=\"Content\">", "<item @@name=\"Content\">"}},
         {{T, "<item name=\"Content\">", "<item name=\"content\">"}}},
        {"item-without-folder",
         {{T, "<item name=\"Looks\">", "<item @@name=\"looks\">"}},
         {{T, edPath, "<item name=\"Glow.plugin\"/>" + std::string(edPath)}}},
        {"item-without-folder",
         {{T, edPath, "<item @@name=\"Glow\"/>" + std::string(edPath)}},
         {{T, "<item name=\"Looks\">", "<item name=\"Looks\"><item name=\"Grey.look\"/>"}}},
        {"item-for-file",
         {{T, "<item name=\"Looks\">", "<item @@name=\"Guide.html\">"}},
         {{T, "<item name=\"Looks\">", "<item name=\"Guide\">"}}},
        {"item-for-file",
         {{D, contentFolder, "<file fileName=\"Content\"/>"},
          {T, "<item name=\"Content\">", "<item @@name=\"Content\">"}},
         {{D, familyFolder, "<file fileName=\"Glow\"/>"}}},
        {"item-without-path",
         {{T, path("/Users/%USER%/Vorlane/Looks"), ""},
          {T, "<item name=\"Looks\">", "<item @@name=\"Looks\">"}},
         {{T, contentPath, "<item name=\"Deep\"><path value=\"/Vorlane\"/></item>"},
          {D, paperElement, "<directory fileName=\"Deep\"/>"}}},
        {"shared-folder-removed",
         {{D, paperElement, ""},
          {T, contentPath, path("/Users/Shared")},
          {D, "<directory fileName=\"Content\">", "<directory @@fileName=\"Content\">"}},
         {{D, paperElement, ""}, {T, contentPath, path("/Users/Shared/Content")}}},
        {"shared-folder-removed",
         {{D, "<file fileName=\"Glow.plugin\" ignoreinstallerrors=\"1\"/>", ""},
          {D, "<directory fileName=\"Glow\">", "<directory @@fileName=\"Glow\">"},
          {T, edPath, "<path value=\"/Library/Edius/Plug-ins\">"}},
         {{D, "<file fileName=\"Glow.plugin\" ignoreinstallerrors=\"1\"/>", ""}}},
        // Two hosts, then two families, two branches, and a folder inside another.
        {"targets-meet",
         {{D, edius, openFX + edius},
          {D, "<file fileName=\"Glow.plugin\" ignore", "<file @@fileName=\"Glow.plugin\" ignore"},
          {T, "<item name=\"Edius\">", openFXItem + "</path></item><item name=\"Edius\">"}},
         {{D, edius, openFX + edius},
          {T, "<item name=\"Edius\">",
           openFXItem +
               "<condition type=\"PathNotExist\" value=\"/Applications/Edius.app\"/></path></item><item "
               "name=\"Edius\">"}}},
        {"targets-meet",
         {{D, "</families>", secondFamily},
          {D, edius,
           std::string(edius) + "<directory fileName=\"Ink\"><file fileName=\"glow.plugin\"/></directory>"},
          {D, "<file fileName=\"Glow.plugin\" ignore", "<file @@fileName=\"Glow.plugin\" ignore"},
          {T, edPath, "<path value=\"/Library/Edius\">"}},
         {{D, "</families>", secondFamily},
          {D, edius,
           std::string(edius) + "<directory fileName=\"Ink\"><file fileName=\"Ink.plugin\"/></directory>"},
          {T, edPath, "<path value=\"/Library/Edius\">"}}},
        {"targets-meet",
         {{D, paperElement, "<file @@fileName=\"Guide.html\"/>"}, {T, contentPath, sharedPath}},
         {{T, contentPath, sharedPath}}},
        {"targets-meet",
         {{D, paperElement, "<directory @@fileName=\"LOOKS\"/>"},
          {T, contentPath, path("/Users/%USER%/Vorlane")}},
         {{D, paperElement, "<directory fileName=\"Films\"/>"},
          {T, contentPath, path("/Users/%USER%/Vorlane")}}},
        {"family-in-shared-path",
         {{D, "</families>", secondFamily}, {T, sharedPath, markedPath("/Vorlane/%FAMILY%")}},
         {{T, sharedPath, path("/Vorlane/%FAMILY%")}}},
        {"family-in-shared-path",
         {{D, "</families>", secondFamily}, {T, contentPath, markedPath("/Vorlane/%FAMILY%")}},
         {{D, "</families>", secondFamily}}},
        {"family-in-shared-path",
         {{D, "<plugins><plugin name=\"Glow One\"/></plugins>", ""},
          {T, contentPath, markedPath("/Vorlane/%FAMILY%")}},
         {}},
    };
}

std::string textOf(const std::vector<Edit>& edits) {
    std::string text;
    for (const Edit& edit : edits) {
        text += edit.to + "\n";
    }
    return text;
}

} // namespace

std::vector<Example> allExamples() {
    std::vector<Example> all;
    for (const auto& group :
         {documentExamples(), identityExamples(), familyAndHostExamples(), nameExamples(), treeExamples(),
          conditionExamples(), machineExamples(), patternExamples(), itemExamples(), crossExamples()}) {
        all.insert(all.end(), group.begin(), group.end());
    }
    return all;
}

TEST(RuleExamples, TheProductThatTheyStartFromHasNoMistakes) {
    for (const Finding& finding : InspectedProduct().findings) {
        ADD_FAILURE() << finding.rule << " " << finding.where.line << " " << finding.message;
    }
}

TEST(RuleExamples, EachRuleComplainsInTheMarkedPlaces) {
    for (const Example& example : allExamples()) {
        SCOPED_TRACE(example.rule + ": " + textOf(example.bad));
        const InspectedProduct product(example.bad);
        // Sets: one attribute may hold several mistakes of a kind.
        std::set<std::tuple<int, int, int>> expected;
        for (const Place& place : product.marked) {
            expected.insert({place.file, place.line, place.column});
        }
        std::set<std::tuple<int, int, int>> actual;
        for (const Finding& finding : product.findingsOf(example.rule)) {
            actual.insert(
                {static_cast<int>(finding.where.document), finding.where.line, finding.where.column});
        }
        EXPECT_FALSE(actual.empty());
        EXPECT_EQ(actual, expected);
    }
}

TEST(RuleExamples, EachRuleIsContentWithWhatIsRight) {
    for (const Example& example : allExamples()) {
        SCOPED_TRACE(example.rule + ": " + textOf(example.good));
        for (const Finding& finding : InspectedProduct(example.good).findingsOf(example.rule)) {
            ADD_FAILURE() << finding.where.line << ":" << finding.where.column << " " << finding.message;
        }
    }
}

TEST(RuleExamples, EveryRuleHasOneOfEachKind) {
    std::set<std::string> bad;
    std::set<std::string> good;
    for (const Example& example : allExamples()) {
        bad.insert(example.rule);
        if (!example.good.empty()) {
            good.insert(example.rule);
        }
    }
    for (const Rule& rule : allRules()) {
        // SourceRulesTest.cpp and ProductLineTest.cpp have the examples of the others.
        if (rule.needs != Rule::Needs::Source && rule.needs != Rule::Needs::Line) {
            EXPECT_EQ(bad.count(rule.name), 1U) << rule.name;
            EXPECT_EQ(good.count(rule.name), 1U) << rule.name;
        }
    }
}

TEST(RuleExamples, EveryFindingSaysWhatHappensAndWhatToWrite) {
    for (const Example& example : allExamples()) {
        for (const Finding& finding : InspectedProduct(example.bad).findings) {
            SCOPED_TRACE(finding.rule + ": " + finding.message);
            EXPECT_FALSE(finding.message.empty());
            EXPECT_NE(finding.message.back(), '.');
            ASSERT_FALSE(finding.consequence.empty());
            EXPECT_EQ(finding.consequence.back(), '.');
            ASSERT_FALSE(finding.advice.empty());
            EXPECT_EQ(finding.advice.back(), '.');
        }
    }
}

TEST(RuleExamples, NamesOfRulesAreDifferentAndInKebabCase) {
    std::set<std::string> names;
    for (const Rule& rule : allRules()) {
        const std::string name = rule.name;
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-"), std::string::npos) << name;
    }
}
