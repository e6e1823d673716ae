include(${CMAKE_CURRENT_LIST_DIR}/header_package.cmake)
header_package(CLI11 CLI11::CLI11 CLI)
