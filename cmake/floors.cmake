# The folders of the product are floors, one above the other: what a floor includes lies
# below it, and nothing else is there for its compiler to find.
#
# floor(NAME SOURCES...): a floor above those declared before it, as the object library
# floor_NAME. Headers are included by their folder ("engine/engine.h"). A link to each folder
# stands alone in a folder of the build, and a floor is given those of the floors it may see.
set(floors_folder ${CMAKE_BINARY_DIR}/floors)

function(floor name)
  file(MAKE_DIRECTORY ${floors_folder}/${name})
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${name} ${floors_folder}/${name}/${name} SYMBOLIC)
  set(includes "$<BUILD_INTERFACE:${floors_folder}/${name}>")
  foreach(below ${ORVIDX_FLOORS})
    list(APPEND includes "$<BUILD_INTERFACE:${floors_folder}/${below}>")
  endforeach()

  list(TRANSFORM ARGN PREPEND ${CMAKE_SOURCE_DIR}/${name}/)
  add_library(floor_${name} OBJECT ${ARGN})
  target_include_directories(floor_${name} PRIVATE ${includes})
  target_compile_definitions(floor_${name} PRIVATE ORVIDX_BUILDING)
  target_compile_options(floor_${name} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
  set(ORVIDX_FLOORS ${ORVIDX_FLOORS} ${name} PARENT_SCOPE)
endfunction()
