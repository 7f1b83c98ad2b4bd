# Everything that every target of ours is compiled with, as properties of one target.
add_library(qx_build_options INTERFACE)
add_library(qx::build_options ALIAS qx_build_options)

file(RELATIVE_PATH path_from_build ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR}/.)
string(REGEX REPLACE "/$" "" path_from_build "${path_from_build}")
target_compile_features(qx_build_options INTERFACE cxx_std_20)
target_compile_options(qx_build_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wold-style-cast
    -Woverloaded-virtual -Wcast-qual -Wformat=2 -Wundef
    $<$<BOOL:${QX_WARNINGS_AS_ERRORS}>:-Werror>
    -fstack-protector-strong
    # Log statements name their file relative to the tree, wherever it was checked out.
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
    # ccache makes the path relative to the build folder, see CMakePresets.json.
    -fmacro-prefix-map=${path_from_build}/=
    $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>
    # g++ 12 misreads std::string's operator+ once it is inlined, and warns of an overlap that cannot be.
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release,RelWithDebInfo>>:-Wno-restrict>)
target_compile_definitions(qx_build_options INTERFACE
    $<$<NOT:$<CONFIG:Release>>:_GLIBCXX_ASSERTIONS>
    BOOST_BIND_GLOBAL_PLACEHOLDERS)   # Boost 1.74's property tree needs them and would say so in every build
target_link_options(qx_build_options INTERFACE -Wl,-z,relro,-z,now)

if(QX_SANITIZE)
    target_compile_options(qx_build_options INTERFACE
        -fsanitize=${QX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(qx_build_options INTERFACE -fsanitize=${QX_SANITIZE})
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
