include(${CMAKE_CURRENT_LIST_DIR}/header_package.cmake)
header_package(nlohmann_json nlohmann_json::nlohmann_json nlohmann)
