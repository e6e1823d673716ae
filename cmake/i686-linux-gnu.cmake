# 32-bit Linux with the machine's own compiler (Debian's g++-multilib).
set(CMAKE_C_FLAGS_INIT "-m32 -D_FILE_OFFSET_BITS=64")
set(CMAKE_CXX_FLAGS_INIT "-m32 -D_FILE_OFFSET_BITS=64")

# The machine's packages that serve this target too.
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/packages)
