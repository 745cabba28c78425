# Install rules, the CMake package (TolvexKine::tolvexkine, TolvexKine::tolvexkine_urdf when
# urdfdom is present), tolvexkine.pc (tolvexkine_urdf.pc) and the Debian package.

include(CMakePackageConfigHelpers)

set(TOLVEX_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/TolvexKine)

# Public headers, staged with <tolvexkine/...> includes.
set(TOLVEX_STAGE ${PROJECT_BINARY_DIR}/staged-include)
file(GLOB TOLVEX_HEADER_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tolvexkine.h)
set(TOLVEX_HEADER_DIRS ${TOLVEX_SUBSYSTEMS})
set(TOLVEX_STAGE_EXTRA)  # public headers outside the umbrella header
if(TOLVEX_URDF)
  list(APPEND TOLVEX_HEADER_DIRS urdf robot)
  list(APPEND TOLVEX_STAGE_EXTRA urdf/UrdfImport.h urdf/UrdfExport.h urdf/UrdfC.h)
endif()
foreach(dir ${TOLVEX_HEADER_DIRS})
  file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${dir}/*.h)
  list(APPEND TOLVEX_HEADER_SOURCES ${headers})
endforeach()
string(JOIN "," TOLVEX_STAGE_EXTRA ${TOLVEX_STAGE_EXTRA})
add_custom_command(
  OUTPUT ${TOLVEX_STAGE}/staged.stamp
  COMMAND ${CMAKE_COMMAND} -DSRC=${PROJECT_SOURCE_DIR} -DDST=${TOLVEX_STAGE} -DEXTRA=${TOLVEX_STAGE_EXTRA}
          -P ${PROJECT_SOURCE_DIR}/cmake/StageHeaders.cmake
  COMMAND ${CMAKE_COMMAND} -E touch ${TOLVEX_STAGE}/staged.stamp
  DEPENDS ${TOLVEX_HEADER_SOURCES} ${PROJECT_SOURCE_DIR}/cmake/StageHeaders.cmake
  COMMENT "Staging the public headers")
add_custom_target(tolvexkine_headers ALL DEPENDS ${TOLVEX_STAGE}/staged.stamp)

target_include_directories(tolvexkine INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS tolvexkine EXPORT TolvexKineTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${TOLVEX_STAGE}/tolvexkine DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_BINARY_DIR}/include/tolvexkine/version.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tolvexkine)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/
        DESTINATION ${CMAKE_INSTALL_DATADIR}/tolvexkine/examples)

install(EXPORT TolvexKineTargets NAMESPACE TolvexKine:: DESTINATION ${TOLVEX_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/TolvexKineConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TolvexKineConfig.cmake INSTALL_DESTINATION ${TOLVEX_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TolvexKineConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TolvexKineConfig.cmake
              ${PROJECT_BINARY_DIR}/TolvexKineConfigVersion.cmake
        DESTINATION ${TOLVEX_CMAKE_DIR})

# The .pc file finds its prefix from its own place, so the tree can be installed anywhere.
file(RELATIVE_PATH TOLVEX_PC_TO_PREFIX /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
string(REGEX REPLACE "/$" "" TOLVEX_PC_TO_PREFIX "${TOLVEX_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/tolvexkine.pc.in ${PROJECT_BINARY_DIR}/tolvexkine.pc
               @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tolvexkine.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(CMAKE_SOURCE_DIR STREQUAL PROJECT_SOURCE_DIR)
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGE_NAME tolvexkine)
  set(CPACK_PACKAGE_VENDOR "Tolvex")
  set(CPACK_PACKAGE_DESCRIPTION "Shared library, headers, CMake and pkg-config files, the \
tolvex-kine command-line tool and example model files.")
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Tolvex Kine developers <kine@tolvex.invalid>")
  set(CPACK_DEBIAN_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # The tool links the library of this same package.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
  include(CPack)
endif()
