# One short summary at the end of configuring: what this build makes and, for each
# part it skips, the Debian package that would enable it.
#   tk_part(<name> <built: TRUE/FALSE> <what enables it>)
function(tk_part name built enable)
  if(built)
    set_property(GLOBAL APPEND PROPERTY TOLVEX_PARTS "  ${name}: yes")
  else()
    set_property(GLOBAL APPEND PROPERTY TOLVEX_PARTS "  ${name}: no (${enable})")
  endif()
endfunction()

function(tk_print_summary)
  get_property(parts GLOBAL PROPERTY TOLVEX_PARTS)
  list(JOIN parts "\n" text)
  message(STATUS "Tolvex Kine ${PROJECT_VERSION} will build:\n${text}")
endfunction()
