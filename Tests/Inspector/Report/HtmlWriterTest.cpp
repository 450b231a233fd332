#include "Utility/InstallInspector/Report/HtmlWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

using testing::HasSubstr;
using testing::Not;

namespace {

using Tag = HtmlWriter::Tag;
using Name = HtmlWriter::Name;

std::string pageWith(const std::function<void(HtmlWriter&)>& write, const std::string& title = "t") {
    HtmlWriter html(title);
    write(html);
    return html.finish();
}

/// What is between <body> and </body>, for this text in a paragraph.
std::string written(const std::string& text) {
    const std::string page = pageWith([&](HtmlWriter& html) { html.put(Tag::P, text); });
    const std::string opening = "<body>\n<p>";
    const std::size_t begin = page.find(opening) + opening.size();
    return page.substr(begin, page.rfind("</p>\n</body>") - begin);
}

std::string marked(const std::string& text) {
    return "<span class=\"unseen\">" + text + "</span>";
}

} // namespace

TEST(HtmlWriter, EscapesWhatHtmlReads) {
    EXPECT_EQ(written("<script>alert(\"a\" & 'b')</script>"),
              "&lt;script&gt;alert(&quot;a&quot; &amp; &#39;b&#39;)&lt;/script&gt;");
    EXPECT_EQ(written("&lt;"), "&amp;lt;");
}

TEST(HtmlWriter, EscapesAttributesAndTheTitle) {
    const std::string page = pageWith(
        [](HtmlWriter& html) {
            html.put(Tag::P, "", {{Name::Id, "\"><b onclick='x'>\xE2\x80\xAE"}});
        },
        "</title><script>");
    EXPECT_THAT(page, HasSubstr("<p id=\"&quot;&gt;&lt;b onclick=&#39;x&#39;&gt;[U+202E]\"></p>"));
    EXPECT_THAT(page, HasSubstr("<title>&lt;/title&gt;&lt;script&gt;</title>"));
}

TEST(HtmlWriter, ALinkLeadsNowhereButToThePage) {
    EXPECT_THAT(pageWith([](HtmlWriter& html) { html.link("javascript:alert(1)", "text"); }),
                HasSubstr("<a href=\"#javascript:alert(1)\">text</a>"));
}

TEST(HtmlWriter, WritesOutWhatNobodyWouldSee) {
    EXPECT_EQ(written("exe\xE2\x80\xAEgpj.bat"), "exe" + marked("[U+202E]") + "gpj.bat");
    for (const auto& [text, code] :
         {std::pair("\xD8\x9C", "[U+061C]"), std::pair("\xE2\x80\x8E", "[U+200E]"),
          std::pair("\xE2\x80\x8F", "[U+200F]"), std::pair("\xE2\x80\xAA", "[U+202A]"),
          std::pair("\xE2\x81\xA6", "[U+2066]"), std::pair("\xE2\x81\xA9", "[U+2069]"),
          std::pair("\xC2\xA0", "[U+00A0]"), std::pair("\xE2\x80\x8B", "[U+200B]"),
          std::pair("\xE2\x80\xA8", "[U+2028]"), std::pair("\xEF\xBB\xBF", "[U+FEFF]"),
          std::pair("\xEF\xBF\xBE", "[U+FFFE]"), std::pair("\xF3\xA0\x81\x81", "[U+E0041]"),
          std::pair("\xF0\x9F\xBF\xBE", "[U+1FFFE]")}) {
        EXPECT_EQ(written(text), marked(code));
    }
    EXPECT_EQ(written("a\nb\x1B"), "a" + marked("\\n") + "b" + marked("\\x1b"));
    EXPECT_EQ(written("\xC2\x9B"), marked("\\xc2\\x9b"));
    EXPECT_EQ(written("\xFF\xC3"), marked("\\xff") + marked("\\xc3"));
}

TEST(HtmlWriter, LeavesWhatCanBeSeen) {
    // Accents, Hebrew, an emoji of two with the joiner between them, the wide blank of East Asia.
    const std::string text =
        "\xC3\xA9 e\xCC\x81 \xD7\x90 \xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x9A\x80 \xE3\x80\x80 a  b";
    EXPECT_EQ(written(text), text);
}

TEST(HtmlWriter, EndsLinesOfPathsAfterSlashes) {
    EXPECT_THAT(pageWith([](HtmlWriter& html) { html.breakable("/a/<b>/"); }),
                HasSubstr("<body>\n/<wbr/>a/<wbr/>&lt;b&gt;/</body>"));
}

TEST(HtmlWriter, KeepsLinesOfATextOfSeveral) {
    EXPECT_THAT(
        pageWith([](HtmlWriter& html) { html.lines("\n<a>\r\nb"); }),
        HasSubstr("<pre tabindex=\"0\" translate=\"no\">\n\n&lt;a&gt;" + marked("\\r") + "\nb\n</pre>"));
}

TEST(HtmlWriter, ClosesWhatIsOpened) {
    const std::string page = pageWith([](HtmlWriter& html) {
        const auto outer = html.in(Tag::Details, {{Name::Open, "open"}});
        html.put(Tag::Summary, "s");
        const auto inner = html.in(Tag::Ul);
        const auto item = html.in(Tag::Li);
        html.text("i");
    });
    EXPECT_THAT(
        page,
        HasSubstr("<details open=\"open\"><summary>s</summary>\n<ul><li>i</li>\n</ul>\n</details>\n</body>"));
}

TEST(HtmlWriter, APageNeedsNothingElse) {
    const std::string page = pageWith([](HtmlWriter& html) { html.text("text"); });
    EXPECT_EQ(page.rfind("<!DOCTYPE html>\n<html lang=\"en\" dir=\"ltr\">\n", 0), 0U);
    EXPECT_THAT(page, HasSubstr("content=\"default-src 'none'; style-src 'unsafe-inline'; img-src data:;"));
    EXPECT_THAT(page, HasSubstr("prefers-color-scheme: dark"));
    EXPECT_THAT(page, HasSubstr("@media print"));
    for (const char* part : {"<script", "http:", "https:", "url(", "@import", "src="}) {
        EXPECT_THAT(page, Not(HasSubstr(part)));
    }
}
