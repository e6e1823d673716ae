# How the library becomes orvIdx.2.0.dll. Included where the target orvIdx is made.
enable_language(RC)

target_sources(orvIdx PRIVATE
  platform/library_entry_windows.cpp api/orvIdx.def api/orvIdx.rc)
target_compile_options(orvIdx PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
set_target_properties(orvIdx PROPERTIES
  PREFIX "" OUTPUT_NAME orvIdx.2.0
  LINK_DEPENDS ${CMAKE_SOURCE_DIR}/api/orvIdx.def)
