# CLI11 is headers alone, but they stand among those of the machine that compiles: copied out of there.
file(COPY /usr/include/CLI DESTINATION ${CMAKE_BINARY_DIR}/headers)
if(NOT TARGET CLI11::CLI11)
    add_library(CLI11::CLI11 INTERFACE IMPORTED)
    target_include_directories(CLI11::CLI11 SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/headers)
endif()
set(CLI11_FOUND TRUE)
