#pragma once

#include <optional>
#include <string>
#include <vector>

/// A position in a text. Lines and columns begin with 1. Columns count characters.
struct TextPosition {
    int line = 1;
    int column = 1;
};

/// Facts about an XML text that are missing in the tree of the parser.
struct TextScan {
    /// Each "&" that does not begin a reference. The parser drops it.
    std::vector<TextPosition> strayAmpersands;
    /// The first tag that closes a wrong element, or the first element that is not closed.
    struct Mismatch {
        std::string open; ///< the open element; empty if none is open
        TextPosition opened;
        std::string closed; ///< the element that is closed instead; empty at the end of the text
        TextPosition where;
    };
    std::optional<Mismatch> mismatch;
    TextPosition end;
};

/// Scans an XML text once. Ignores comments, CDATA sections and declarations.
TextScan scanText(const std::string& text);

/// The position of the byte at `offset`.
TextPosition positionOf(const std::string& text, std::size_t offset);
