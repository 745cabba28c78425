# Copies the public headers (tolvexkine.h and every header it includes) into
# <DST>/tolvexkine/, turning their quoted includes of one another into <tolvexkine/...>
# includes, so that an installed tree needs nothing but its include directory on the path.
# The C header is also placed at the top, as <tolvexkine/TolvexKine.h>.
#   cmake -DSRC=<source root> -DDST=<stage dir> -P StageHeaders.cmake

set(include_pattern "#include \"([a-z0-9]+/[A-Za-z0-9_]+\\.h)\"")
file(READ "${SRC}/tolvexkine.h" umbrella)
string(REGEX MATCHALL "${include_pattern}" includes "${umbrella}")
string(REGEX REPLACE "${include_pattern}" "\\1" headers "${includes}")

foreach(header tolvexkine.h ${headers})
  file(READ "${SRC}/${header}" text)
  string(REGEX REPLACE "${include_pattern}" "#include <tolvexkine/\\1>" text "${text}")
  file(WRITE "${DST}/tolvexkine/${header}.tmp" "${text}")
  configure_file("${DST}/tolvexkine/${header}.tmp" "${DST}/tolvexkine/${header}" COPYONLY)
  file(REMOVE "${DST}/tolvexkine/${header}.tmp")
endforeach()
configure_file("${SRC}/interface/TolvexKine.h" "${DST}/tolvexkine/TolvexKine.h" COPYONLY)
