#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Writes one HTML page that needs nothing else: its style is in it, it has no script, and its policy of
/// contents forbids a browser to ask for anything.
///
/// All text goes through here and is escaped. Tags, attributes and the targets of links cannot come from
/// text, so that no name can become part of the page's structure. What a reader could not see is written out:
/// bytes that are no UTF-8 and control characters as "\xff", marks that turn the direction of writing and
/// other characters without a look of their own as "[U+202E]".
///
/// The page is well-formed XML, too: each element is closed, each attribute has a value.
class HtmlWriter {
public:
    enum class Tag {
        A,
        Caption,
        Code,
        Dd,
        Details,
        Div,
        Dl,
        Dt,
        H1,
        H2,
        H3,
        Header,
        Li,
        Main,
        Nav,
        P,
        Pre,
        Section,
        Span,
        Strong,
        Summary,
        Table,
        Tbody,
        Td,
        Th,
        Thead,
        Tr,
        Ul
    };
    enum class Name { AriaLabel, AriaLabelledBy, Class, Id, Open, Role, RowSpan, Scope, TabIndex, Translate };
    struct Attribute {
        Name name;
        std::string value;
    };
    using Attributes = std::initializer_list<Attribute>;

    /// An element that is open until the end of the scope.
    class [[nodiscard]] Element {
    public:
        Element(Element&& other) noexcept : writer(std::exchange(other.writer, nullptr)) {}
        ~Element() {
            if (writer != nullptr) {
                writer->close();
            }
        }
        Element(const Element&) = delete;
        Element& operator=(const Element&) = delete;
        Element& operator=(Element&&) = delete;

    private:
        friend class HtmlWriter;
        explicit Element(HtmlWriter& to) : writer(&to) {}

        HtmlWriter* writer;
    };

    /// Begins the page.
    explicit HtmlWriter(const std::string& title);
    /// Ends the page and gives it. Nothing may be open, and nothing follows.
    std::string finish();

    Element in(Tag tag, Attributes attributes = {});
    /// An element with this text and nothing else.
    void put(Tag tag, std::string_view text, Attributes attributes = {});
    void text(std::string_view text);
    /// The same for a text with paths: a line may end after a slash.
    void breakable(std::string_view text);
    /// A link to the element with this ID on the page.
    void link(std::string_view id, std::string_view text);
    /// A text of several lines, which stay lines.
    void lines(std::string_view text);

private:
    void open(Tag tag, Attributes attributes);
    void close();
    void writeAttribute(const char* name, std::string_view value);
    /// `bMarked`: what is written out is set off from what stands in the text.
    void escape(std::string_view text, bool bMarked);
    void writeOut(std::string_view shown, bool bMarked);

    std::string page;
    std::vector<Tag> opened;
};
