#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Writes one HTML page that needs no other file. Its style is inside, it has no script, and its content
/// security policy forbids a browser to load anything.
///
/// All text is escaped here. Tags, attributes and the targets of links cannot come from text, so no name can
/// become part of the page's structure. Characters that a reader could not see are written as codes. Bytes
/// that are not UTF-8 and control characters become "\xff". Marks that change the direction of writing, and
/// other invisible characters, become "[U+202E]".
///
/// The page is well-formed XML, too. Each element is closed, and each attribute has a value.
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
    /// Ends the page and returns it. All elements must be closed before. Do not use the writer afterwards.
    std::string finish();

    /// Opens an element. It is closed at the end of the result's scope.
    Element in(Tag tag, Attributes attributes = {});
    /// An element with this text and nothing else.
    void put(Tag tag, std::string_view text, Attributes attributes = {});
    void text(std::string_view text);
    /// The same for a text with paths: a line may end after a slash.
    void breakable(std::string_view text);
    /// A link to the element with this ID on the page.
    void link(std::string_view id, std::string_view text);
    /// A text of several lines. Keeps the line breaks.
    void lines(std::string_view text);

private:
    void open(Tag tag, Attributes attributes);
    void close();
    void writeAttribute(const char* name, std::string_view value);
    /// With `bMarked`, codes for invisible characters have a style that differs from the text.
    void escape(std::string_view text, bool bMarked);
    void writeCode(std::string_view code, bool bMarked);

    std::string page;
    std::vector<Tag> opened;
};
