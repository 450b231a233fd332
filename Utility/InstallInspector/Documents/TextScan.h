#pragma once

#include <optional>
#include <string>
#include <vector>

/// A place in a text: line and column from 1, columns in characters.
struct TextPosition {
    int line = 1;
    int column = 1;
};

/// What the tree that a parser builds no longer shows.
struct TextScan {
    /// Each "&" that opens no reference the parser knows; it drops these.
    std::vector<TextPosition> strayAmpersands;
    /// The first tag that closes another element than the one that is open, or an element that nothing
    /// closes.
    struct Mismatch {
        std::string open; ///< the element to be closed; empty when none is open
        TextPosition opened;
        std::string closed; ///< what is closed instead; empty at the end of the text
        TextPosition where;
    };
    std::optional<Mismatch> mismatch;
    TextPosition end;
};

/// One pass over an XML text. Comments, CDATA sections and declarations are passed over.
TextScan scanText(const std::string& text);

/// The place of the byte at `offset`.
TextPosition positionOf(const std::string& text, std::size_t offset);
