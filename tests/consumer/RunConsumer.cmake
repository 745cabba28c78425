# Installs the built library into a fresh prefix, then configures, builds and runs the host
# project of this folder against it, and runs the installed tool.
#   cmake -DBUILD_DIR=<build> -DWORK_DIR=<scratch> -DLIBDIR=<lib dir> -DGENERATOR=<generator>
#         [-DCMAKE_<LANG>_COMPILER=... -DCMAKE_<LANG>_FLAGS=... -DCMAKE_EXE_LINKER_FLAGS=...]
#         -P RunConsumer.cmake

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "failed (${failed}): ${ARGN}")
  endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
set(examples ${prefix}/share/tolvexkine/examples)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_C_COMPILER=${CMAKE_C_COMPILER} -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
    "-DCMAKE_C_FLAGS=${CMAKE_C_FLAGS}" "-DCMAKE_CXX_FLAGS=${CMAKE_CXX_FLAGS}"
    "-DCMAKE_EXE_LINKER_FLAGS=${CMAKE_EXE_LINKER_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/c_host ${examples}/model-1017.txt ${examples}/robot.ini)
run(${WORK_DIR}/build/cxx_host ${examples}/model-1017.txt ${examples}/robot.ini)
foreach(host urdf_host urdf_host_pc)
  if(EXISTS ${WORK_DIR}/build/${host})
    run(${WORK_DIR}/build/${host})
  endif()
endforeach()
run(${prefix}/bin/tolvex-kine fk 0 0 0 0 0 0 0)
