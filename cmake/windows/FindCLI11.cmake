# For cross-compiling: CLI11 consists of headers, so those of this machine serve. Only that folder is made visible,
# through a link in the build folder: /usr/include itself holds the headers of another system.
include(${CMAKE_CURRENT_LIST_DIR}/HostHeaders.cmake)
mk_host_headers(CLI11::CLI11 CLI)
set(CLI11_FOUND TRUE)
