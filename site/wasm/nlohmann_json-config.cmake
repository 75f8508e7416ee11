# nlohmann-json for the WebAssembly build: the headers alone, by a link that site/build makes, since
# the folder of the system's own headers must stay out of sight.
add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
target_include_directories(nlohmann_json::nlohmann_json INTERFACE ${CMAKE_BINARY_DIR}/include)
target_compile_definitions(nlohmann_json::nlohmann_json INTERFACE JSON_NOEXCEPTION)
