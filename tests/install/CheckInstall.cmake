# Installs the build into a scratch prefix and builds a small program
# against it with find_package, then runs it; or (SUBPROJECT) configures a
# project that adds the source tree with add_subdirectory.
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... [-DSUBPROJECT=ON] -P CheckInstall.cmake
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
if(SUBPROJECT)
  run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/install/subproject -B ${WORK_DIR}/build
      -DQUILLMERE_SOURCE_DIR=${SOURCE_DIR} -DQUILLMERE_BUILD_EDITOR=OFF)
  if(NOT EXISTS ${WORK_DIR}/build/Makefile)
    message(FATAL_ERROR "the subproject generated no build")
  endif()
  return()
endif()

set(prefix ${WORK_DIR}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/install/consumer -B ${WORK_DIR}/build -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/consumer)
message(STATUS "${last_output}")
if(NOT last_output MATCHES "grey 50 brightened to")
  message(FATAL_ERROR "unexpected output: ${last_output}")
endif()

# The installed tool finds its presets beside itself, even once moved.
file(RENAME ${prefix} ${WORK_DIR}/moved)
run(${WORK_DIR}/moved/bin/quillmere presets)
if(NOT last_output MATCHES "moved/share/quillmere/Presets")
  message(FATAL_ERROR "the moved tool did not list its own presets:\n${last_output}")
endif()
