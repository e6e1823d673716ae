# Linux: makes what is built here harder to misuse by whoever finds a fault in it. Included
# before any target is made.
#
# All code checks its stack frames and, where the target can, marks the places that may be
# jumped to; optimised code checks the sizes of the buffers that it copies into. Relocations
# are done and protected before the program runs, so that calls into other libraries need no
# table that is filled later.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fcf-protection ORVIDX_HAS_CF_PROTECTION)
check_cxx_compiler_flag(-fno-plt ORVIDX_HAS_NO_PLT)

add_compile_options($<${for_code}:-fstack-protector-strong>)
if(ORVIDX_HAS_CF_PROTECTION)
  add_compile_options($<${for_code}:-fcf-protection>)
endif()
if(ORVIDX_HAS_NO_PLT)
  add_compile_options($<${for_code}:-fno-plt>)
endif()
add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)

# The sanitizers have checks of their own. Code that is not optimised cannot be checked so.
if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$" AND NOT ORVIDX_SANITIZE)
  set(ORVIDX_FORTIFIED ON)
  add_compile_options("$<${for_code}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()
