// The browser view's page, bundled into the tool at build time (viewer/): one
// HTML file holding three.js and the library compiled to WebAssembly, with a place
// mark where `view` puts the arm's description and the motion.
#ifndef TOLVEX_TOOLS_EMBEDDEDPAGE_H
#define TOLVEX_TOOLS_EMBEDDEDPAGE_H

// Empty when the page was not built.
extern const char* const kViewPage;
// Why the page was not built (what was missing), or empty.
extern const char* const kViewPageMissing;
// The place mark in kViewPage: a JSON string the data replaces.
constexpr const char* kViewDataMark = "\"@TOLVEX_VIEW_DATA@\"";

#endif
