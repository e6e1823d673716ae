# GoogleTest built from Debian's package of its sources, for targets that the package of
# its libraries is not made for.
find_path(GTEST_SOURCES src/gtest-all.cc
  PATHS /usr/src/googletest/googletest NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(GTest REQUIRED_VARS GTEST_SOURCES)

if(GTest_FOUND AND NOT TARGET GTest::gtest)
  find_package(Threads REQUIRED)
  add_library(orvidx_gtest STATIC ${GTEST_SOURCES}/src/gtest-all.cc)
  target_include_directories(orvidx_gtest SYSTEM PUBLIC ${GTEST_SOURCES}/include)
  target_include_directories(orvidx_gtest PRIVATE ${GTEST_SOURCES})
  target_compile_options(orvidx_gtest PRIVATE -w)
  target_link_libraries(orvidx_gtest PUBLIC Threads::Threads)
  add_library(orvidx_gtest_main STATIC ${GTEST_SOURCES}/src/gtest_main.cc)
  target_link_libraries(orvidx_gtest_main PUBLIC orvidx_gtest)
  add_library(GTest::gtest ALIAS orvidx_gtest)
  add_library(GTest::gtest_main ALIAS orvidx_gtest_main)
endif()
