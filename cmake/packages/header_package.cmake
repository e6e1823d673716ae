# header_package(name target folder): the headers of one folder of the machine's
# /usr/include as an imported target, alone. The machine's other headers must not be seen
# by a compiler for another system, so a link in the build folder leads to this one.
function(header_package name target folder)
  find_path(${name}_HEADERS ${folder}
    PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  include(FindPackageHandleStandardArgs)
  find_package_handle_standard_args(${name} REQUIRED_VARS ${name}_HEADERS)
  set(${name}_FOUND ${${name}_FOUND} PARENT_SCOPE)
  if(${name}_FOUND AND NOT TARGET ${target})
    set(links ${CMAKE_BINARY_DIR}/headers/${name})
    file(MAKE_DIRECTORY ${links})
    file(CREATE_LINK ${${name}_HEADERS}/${folder} ${links}/${folder} SYMBOLIC)
    add_library(${target} INTERFACE IMPORTED)
    target_include_directories(${target} INTERFACE ${links})
  endif()
endfunction()
