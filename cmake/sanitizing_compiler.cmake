# The compiler of a build with the sanitizers, unless one was chosen. clang takes half the
# time of gcc for it and has a fuzzer, but its runtime libraries are not installed everywhere.
# Included before the project is declared.
if(NOT ORVIDX_SANITIZE OR CMAKE_CXX_COMPILER OR CMAKE_TOOLCHAIN_FILE
    OR DEFINED ENV{CC} OR DEFINED ENV{CXX})
  return()
endif()

find_program(ORVIDX_CLANG clang)
find_program(ORVIDX_CLANGXX clang++)
if(ORVIDX_CLANG AND ORVIDX_CLANGXX)
  set(probe ${CMAKE_BINARY_DIR}/sanitizer_probe)
  file(WRITE ${probe}.cpp "#include <string>\nint main() { return 0; }\n")
  execute_process(
    COMMAND ${ORVIDX_CLANGXX} -fsanitize=address,undefined ${probe}.cpp -o ${probe}
    RESULT_VARIABLE missing OUTPUT_QUIET ERROR_QUIET)
  if(missing EQUAL 0)
    set(CMAKE_C_COMPILER ${ORVIDX_CLANG} CACHE FILEPATH "")
    set(CMAKE_CXX_COMPILER ${ORVIDX_CLANGXX} CACHE FILEPATH "")
  endif()
endif()
