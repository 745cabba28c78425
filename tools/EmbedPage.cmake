# Writes a C++ source holding the browser view's page template (one HTML file),
# or, when the page was not built, the one line saying what was missing.
#   cmake -DPAGE=<page.html> -DMISSING=<why> -DOUTPUT=<file.cpp> -P EmbedPage.cmake
set(delimiter "tolvex_page")
if(MISSING)
  set(page "")
else()
  file(READ "${PAGE}" page)
  string(FIND "${page}" ")${delimiter}\"" clash)
  if(NOT clash EQUAL -1)
    message(FATAL_ERROR "${PAGE} holds the raw string delimiter ${delimiter}")
  endif()
endif()
string(REPLACE "\"" "\\\"" missing_text "${MISSING}")
file(WRITE "${OUTPUT}.tmp" "// Generated at build time by tools/EmbedPage.cmake.\n"
  "#include \"tools/EmbeddedPage.h\"\n\n"
  "const char* const kViewPage = R\"${delimiter}(${page})${delimiter}\";\n"
  "const char* const kViewPageMissing = \"${missing_text}\";\n")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
