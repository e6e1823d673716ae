# What `cmake --install` puts in place: the library, its public headers, the tools, and
# a CMake package and a pkg-config file for hosts.
include(CMakePackageConfigHelpers)

install(TARGETS orvIdx EXPORT orvIdx
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES api/orvIdx.h api/element_records.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvIdx)
if(WIN32)
  # From this the tools of any compiler make an import library of their own.
  install(FILES api/orvIdx.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
if(ORVIDX_TOOLS)
  install(TARGETS orvidx orvjob RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/orvIdx)
install(EXPORT orvIdx NAMESPACE orvIdx:: FILE orvIdxConfig.cmake DESTINATION ${package_folder})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/orvIdxConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/orvIdxConfigVersion.cmake DESTINATION ${package_folder})

# The installed tree may be moved: its paths start from where the file lies.
file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
set(library_name $<IF:$<PLATFORM_ID:Windows>,orvIdx.2.0,orvIdx>)
configure_file(cmake/orvIdx.pc.in ${CMAKE_BINARY_DIR}/orvIdx.pc.in @ONLY)
file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/orvIdx.pc INPUT ${CMAKE_BINARY_DIR}/orvIdx.pc.in)
install(FILES ${CMAKE_BINARY_DIR}/orvIdx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
