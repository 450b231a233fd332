#pragma once

/// The style of all pages: Page.css, as the build puts it into the program.
extern const char* const pageStyle;
