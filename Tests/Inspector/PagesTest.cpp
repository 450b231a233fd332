// The pages that plan and status write with --html, and the short table of plan. How they look in a browser:
// Tests/Browser.
#include "Tests/Support/FileTree.h"
#include "Tests/Support/ProductBuilder.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/Sources.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::Not;

namespace {

using Arguments = std::vector<std::string>;

class Pages : public testing::Test {
protected:
    static constexpr const char* shared = "/Library/Application Support/Vorlane";

    ProgramResult inspect(const Arguments& arguments, ProgramOptions options = {}) const {
        Arguments command{INSTALLINSPECTOR_PROGRAM};
        command.insert(command.end(), arguments.begin(), arguments.end());
        options.workingFolder = folder.path();
        return runProgram(command, options);
    }
    static ProductBuilder product() {
        return ProductBuilder("ALPHA", "Alpha")
            .family("Blur")
            .target("VorlaneFX", shared)
            .file("VorlaneFX/f", "f");
    }
    /// The arguments of a plan for a new machine.
    Arguments planOf(const ProductBuilder& product, const Arguments& options) const {
        product.writeTo(folder.path() / product.id());
        FileTree::write(folder.path() / "machine.json", "{}");
        Arguments arguments{"plan", "--machine", "machine.json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const std::string id = product.id();
        arguments.insert(arguments.end(), {id + "/files", id + "/sku.xml", id + "/target_path.xml"});
        return arguments;
    }
    /// The arguments of a look at this record.
    Arguments statusOf(const std::string& name, const Arguments& options) const {
        FileTree::write(
            folder.path() / "record.xml",
            "<install><products><sku ID=\"A\" name=\"" + name +
                "\" build=\"1.0.0.1\"/></products><installFiles><directory fileName=\"VorlaneFX\" "
                "ref=\"1\"><file fileName=\"" +
                name + "\" ref=\"1\" build=\"1.0.0.1\"/></directory></installFiles></install>");
        Arguments arguments{"status", "record.xml"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return arguments;
    }
    Arguments commandOf(const std::string& subcommand, const Arguments& options) const {
        return subcommand == "plan" ? planOf(product(), options) : statusOf("n", options);
    }
    std::string read(const std::string& name) const { return FileTree::read(folder.path() / name); }
    bool exists(const std::string& name) const { return fs::exists(folder.path() / name); }
    /// What xmllint says about the page.
    std::string mistakes(const std::string& name) const {
        return runProgram({"xmllint", "--noout", (folder.path() / name).string()}).standardError;
    }

    TemporaryDirectory folder;
};

class PageOf : public Pages, public testing::WithParamInterface<const char*> {
protected:
    Arguments command(const Arguments& options) const { return commandOf(GetParam(), options); }
};

std::size_t lines(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

} // namespace

// The file

TEST_P(PageOf, IsWrittenAndNothingIsPrinted) {
    const int status = inspect(command({})).exitStatus;
    const ProgramResult result = inspect(command({"--html", "page.html"}));
    EXPECT_EQ(result.exitStatus, status);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(mistakes("page.html"), "");
}

TEST_P(PageOf, IsTheSameEachTime) {
    inspect(command({"--html", "a.html"}));
    inspect(command({"--html", "b.html"}));
    EXPECT_EQ(read("a.html"), read("b.html"));
}

TEST_P(PageOf, TakesNoOtherFilesPlace) {
    FileTree::write(folder.path() / "page.html", "mine");
    const ProgramResult result = inspect(command({"--html", "page.html"}));
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.standardError, "InstallInspector: page.html is there already; --force replaces it\n");
    EXPECT_EQ(read("page.html"), "mine");
    EXPECT_NE(inspect(command({"--html", "page.html", "--force"})).exitStatus, 2);
    EXPECT_THAT(read("page.html"), HasSubstr("</html>"));
}

TEST_P(PageOf, IsWrittenWholeOrNotAtAll) {
    const auto limited = [] {
        // A write beyond the limit fails then, as on a full disk.
        const rlimit limit{4096, 4096};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN); // NOLINT: nothing to do about a failure
    };
    ProgramOptions options;
    options.beforeStart = limited;
    FileTree::write(folder.path() / "old.html", "mine");
    for (const char* page : {"new.html", "old.html"}) {
        const ProgramResult result = inspect(command({"--html", page, "--force"}), options);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_EQ(result.standardError,
                  std::string("InstallInspector: ") + page + " cannot be written: File too large\n");
    }
    EXPECT_FALSE(exists("new.html"));
    EXPECT_FALSE(exists("new.html.new"));
    EXPECT_EQ(read("old.html"), "mine");
}

TEST_P(PageOf, SaysInOneLineWhyItCannotBeWritten) {
    const ProgramResult missing = inspect(command({"--html", "none/page.html"}));
    EXPECT_EQ(missing.exitStatus, 2);
    EXPECT_EQ(missing.standardError,
              "InstallInspector: none/page.html cannot be written: No such file or directory\n");
    const ProgramResult full = inspect(command({"--html", "/dev/full", "--force"}));
    EXPECT_EQ(full.exitStatus, 2);
    EXPECT_EQ(full.standardError, "InstallInspector: /dev/full cannot be written: No space left on device\n");
}

TEST_P(PageOf, StandsForNoOtherOutput) {
    EXPECT_EQ(inspect(command({"--html", "page.html", "--json"})).exitStatus, 2);
    EXPECT_EQ(inspect(command({"--html", ""})).exitStatus, 2);
    EXPECT_EQ(inspect(command({"--force"})).exitStatus, 2);
    EXPECT_FALSE(exists("page.html"));
}

INSTANTIATE_TEST_SUITE_P(Subcommands, PageOf, testing::Values("plan", "status"),
                         [](const auto& each) { return std::string(each.param); });

// What they say

TEST_F(Pages, NamesAreTextInAPlan) {
    const ProductBuilder hostile = ProductBuilder("ALPHA", "<b>&amp;\xE2\x80\xAE")
                                       .family("<i>")
                                       .target("VorlaneFX", shared)
                                       .file("VorlaneFX/<script>alert(1)<", "f")
                                       .target("Content", "/'<img src=x>", pathExists("/<u>"))
                                       .file("Content/\xE2\x80\x8F", "f");
    const ProgramResult result = inspect(planOf(hostile, {"--html", "page.html"}));
    EXPECT_NE(result.exitStatus, 2) << result.standardError;
    EXPECT_EQ(mistakes("page.html"), "");
    const std::string page = read("page.html");
    EXPECT_THAT(page,
                HasSubstr("<h1>Plan: install &lt;b&gt;&amp;amp;<span class=\"unseen\">[U+202E]</span>"));
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(1)&lt;</code>"));
    EXPECT_THAT(page, HasSubstr("<span class=\"unseen\">[U+200F]</span></code>"));
    EXPECT_THAT(page, HasSubstr("<wbr/>&lt;u&gt; is not there"));
    for (const char* tag : {"<script", "<b>", "<i>", "<img", "<u>", "\xE2\x80\xAE", "\xE2\x80\x8F"}) {
        EXPECT_THAT(page, Not(HasSubstr(tag)));
    }
}

TEST_F(Pages, NamesAreTextInAStatus) {
    const ProgramResult result =
        inspect(statusOf("&lt;script>&quot;'\xE2\x81\xA6&amp;lt;", {"--html", "page.html"}));
    EXPECT_NE(result.exitStatus, 2) << result.standardError;
    EXPECT_EQ(mistakes("page.html"), "");
    const std::string page = read("page.html");
    EXPECT_THAT(
        page,
        HasSubstr("<code translate=\"no\">&lt;script&gt;&quot;&#39;<span class=\"unseen\">[U+2066]</span>"
                  "&amp;lt;</code>"));
    EXPECT_THAT(page, Not(HasSubstr("<script")));
}

TEST_F(Pages, APlanSaysTheDangerFirst) {
    // Its record has no place, so that nothing is recorded.
    const ProductBuilder lost =
        ProductBuilder("ALPHA", "Alpha").family("Blur").target("Content", "/Content").file("Content/f", "f");
    EXPECT_EQ(inspect(planOf(lost, {"--html", "page.html"})).exitStatus, 1);
    const std::string page = read("page.html");
    const std::size_t danger = page.find("<h2 id=\"dangerous-heading\">What is dangerous</h2>");
    EXPECT_NE(danger, std::string::npos);
    EXPECT_LT(danger, page.find("<h2 id=\"short-heading\">"));
    EXPECT_LT(page.find("<strong>Dangerous.</strong>"), danger);
}

TEST_F(Pages, APlanHasATableWithHeadings) {
    inspect(planOf(product().target("Content", "/Content", pathExists("/None")).file("Content/c", "c"),
                   {"--html", "page.html"}));
    const std::string page = read("page.html");
    EXPECT_THAT(page, HasSubstr("<th scope=\"col\">Target folder</th>"));
    EXPECT_THAT(
        page,
        HasSubstr(
            "<tr class=\"no\"><th scope=\"row\">Content</th>\n<th scope=\"row\" class=\"family\">all</th>\n"
            "<td class=\"here\"><span class=\"label plain\">no</span></td>\n"
            "<td class=\"path\"><code translate=\"no\">/<wbr/>Content</code></td>\n"
            "<td class=\"because\">/<wbr/>None is not there</td>"));
    EXPECT_THAT(page, HasSubstr("uses 0 → 1"));
}

// The short table

TEST_F(Pages, TheShortPlanJoinsFamiliesOfAHost) {
    const ProductBuilder three = product()
                                     .family("Glow")
                                     .target("Hosts/Edius", "/Edius/%FAMILY%")
                                     .file("Hosts/Edius/Blur/b", "b")
                                     .file("Hosts/Edius/Glow/g", "g")
                                     .target("Hosts/OpenFX", "/OFX/%FAMILY%", pathExists("/None/%FAMILY%"))
                                     .file("Hosts/OpenFX/Blur/o", "o");
    const ProgramResult result = inspect(planOf(three, {"--brief"}));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.standardOutput, HasSubstr("Edius      Blur, Glow  2 to copy  /Edius/%FAMILY%\n"));
    EXPECT_THAT(result.standardOutput, HasSubstr("OpenFX     Blur        no         /OFX/%FAMILY%\n"));
    EXPECT_THAT(result.standardOutput, HasSubstr("since /None/"));
    EXPECT_EQ(inspect(planOf(three, {"--brief", "--json"})).exitStatus, 2);
    EXPECT_EQ(inspect(planOf(three, {"--brief", "--commands"})).exitStatus, 2);
}

TEST_F(Pages, TheShortPlanSaysWhatIsDangerous) {
    const ProductBuilder lost =
        ProductBuilder("ALPHA", "Alpha").family("Blur").target("Content", "/Content").file("Content/f", "f");
    const ProgramResult result = inspect(planOf(lost, {"--brief"}));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardOutput, HasSubstr("\n! "));
}

TEST_F(Pages, TheShortPlanOfEachExampleIsOfFortyLinesAtMost) {
    const fs::path examples = inSources("Examples");
    for (const std::string machine : {"new", "suite"}) {
        for (const std::string name : {"Common", "EmberAndInk", "Ink"}) {
            const std::string product = (examples / name).string();
            const std::string description = (examples / "plans" / (machine + ".json")).string();
            for (const Arguments& begin : {Arguments{"--uninstall"}, Arguments{product + "/files"}}) {
                Arguments arguments{"plan", "--brief", "--machine", description};
                arguments.insert(arguments.end(), begin.begin(), begin.end());
                arguments.insert(arguments.end(), {product + "/sku.xml", product + "/target_path.xml"});
                const ProgramResult result = inspect(arguments);
                EXPECT_NE(result.exitStatus, 2) << result.standardError;
                EXPECT_GE(lines(result.standardOutput), 4U);
                EXPECT_LE(lines(result.standardOutput), 40U) << result.standardOutput;
            }
        }
    }
}
