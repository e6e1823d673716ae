# Installs a build, moves what was installed, and builds and runs the examples against it:
# through the CMake package, and on the build's own system through pkg-config.
#   BUILD, EXAMPLES, WORK, TOOLCHAIN, GENERATOR, MAKE_PROGRAM, C_COMPILER, PKG_CONFIG
#   PREFIX_PARTS   the folders of programs and of libraries below the prefix
#   JOB, EMULATOR  for run_host.cmake
string(REPLACE "," ";" parts ${PREFIX_PARTS})
list(GET parts 0 programs)
list(GET parts 1 libraries)
set(prefix ${WORK}/prefix)
file(REMOVE_RECURSE ${WORK})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output
    ERROR_VARIABLE output)
  if(NOT status STREQUAL 0)
    message(FATAL_ERROR "${ARGN}: status ${status}\n${output}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/elsewhere)
file(RENAME ${WORK}/elsewhere ${prefix})

run(${CMAKE_COMMAND} -S ${EXAMPLES} -B ${WORK}/build -G ${GENERATOR}
  -D CMAKE_MAKE_PROGRAM=${MAKE_PROGRAM} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
  -D orvIdx_DIR=${prefix}/${libraries}/cmake/orvIdx)
run(${CMAKE_COMMAND} --build ${WORK}/build)

set(suffix "")
if(EXISTS ${prefix}/${programs}/orvIdx.2.0.dll)
  set(suffix .exe)
  file(COPY ${prefix}/${programs}/orvIdx.2.0.dll DESTINATION ${WORK}/build)
endif()
set(EXPECTED ${EXAMPLES}/minimal_host.txt)
foreach(host minimal_host minimal_host_cpp)
  set(HOST ${WORK}/build/${host}${suffix})
  include(${CMAKE_CURRENT_LIST_DIR}/run_host.cmake)
endforeach()

# The installed tool finds the installed library.
run(${EMULATOR} ${prefix}/${programs}/orvidx${suffix} info ${WORK}/job.orv)

if(PKG_CONFIG AND suffix STREQUAL "")
  set(ENV{PKG_CONFIG_PATH} ${prefix}/${libraries}/pkgconfig)
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs orvIdx
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(compile UNIX_COMMAND
    "${C_COMPILER} -std=c99 -pedantic-errors -Wall -Werror ${EXAMPLES}/minimal_host.c ${flags}")
  run(${compile} -o ${WORK}/pkg_host -Wl,-rpath,${prefix}/${libraries})
  set(HOST ${WORK}/pkg_host)
  include(${CMAKE_CURRENT_LIST_DIR}/run_host.cmake)
endif()
