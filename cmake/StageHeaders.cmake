# Copies the public headers (tolvexkine.h, the headers listed in EXTRA, and every project
# header they include) into <DST>/tolvexkine/, turning their quoted includes of one another
# into <tolvexkine/...> includes, so that an installed tree needs nothing but its include
# directory on the path. The C header is also placed at the top, as <tolvexkine/TolvexKine.h>.
#   cmake -DSRC=<source root> -DDST=<stage dir> [-DEXTRA=<header>,<header>...] -P StageHeaders.cmake

cmake_policy(VERSION 3.20)
set(include_pattern "#include \"([a-z0-9]+/[A-Za-z0-9_]+\\.h)\"")
string(REPLACE "," ";" queue "tolvexkine.h,${EXTRA}")
set(staged)
while(queue)
  list(POP_FRONT queue header)
  if(header STREQUAL "" OR header IN_LIST staged)
    continue()
  endif()
  list(APPEND staged ${header})
  file(READ "${SRC}/${header}" text)
  string(REGEX MATCHALL "${include_pattern}" includes "${text}")
  string(REGEX REPLACE "${include_pattern}" "\\1" included "${includes}")
  list(APPEND queue ${included})
  string(REGEX REPLACE "${include_pattern}" "#include <tolvexkine/\\1>" text "${text}")
  file(WRITE "${DST}/tolvexkine/${header}.tmp" "${text}")
  configure_file("${DST}/tolvexkine/${header}.tmp" "${DST}/tolvexkine/${header}" COPYONLY)
  file(REMOVE "${DST}/tolvexkine/${header}.tmp")
endwhile()
configure_file("${SRC}/interface/TolvexKine.h" "${DST}/tolvexkine/TolvexKine.h" COPYONLY)
