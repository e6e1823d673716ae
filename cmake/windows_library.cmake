# How the library becomes orvIdx.2.0.dll. Included where the target orvIdx is made.
enable_language(RC)

target_sources(orvIdx PRIVATE
  platform/library_entry_windows.cpp api/orvIdx.def api/orvIdx.rc)
target_compile_options(orvIdx PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
set_target_properties(orvIdx PROPERTIES
  PREFIX "" OUTPUT_NAME orvIdx.2.0
  LINK_DEPENDS ${CMAKE_SOURCE_DIR}/api/orvIdx.def)

# Hosts are given the DLL without its symbols. They stay beside it in the build folder, where
# debuggers find them; they are not installed.
add_custom_command(TARGET orvIdx POST_BUILD
  COMMAND ${CMAKE_OBJCOPY} --only-keep-debug orvIdx.2.0.dll orvIdx.2.0.dll.debug
  COMMAND ${CMAKE_OBJCOPY} --strip-all orvIdx.2.0.dll
  COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=orvIdx.2.0.dll.debug orvIdx.2.0.dll
  WORKING_DIRECTORY $<TARGET_FILE_DIR:orvIdx>
  VERBATIM)
