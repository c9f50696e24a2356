# For cross-compiling; see FindCLI11.cmake.
include(${CMAKE_CURRENT_LIST_DIR}/HostHeaders.cmake)
mk_host_headers(nlohmann_json::nlohmann_json nlohmann)
set(nlohmann_json_FOUND TRUE)
