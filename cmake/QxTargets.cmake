# qx_library(<name> [SHARED_PLATFORM <output-name>] SOURCES … HEADERS_BASE <dir> HEADERS … LINK_PUBLIC … LINK_PRIVATE …)
# A library target qx_<name> with the alias qx::<name>, our build options, and its public headers as a file set that
# is compiled header by header (VERIFY_INTERFACE_HEADER_SETS) and installed.
# SHARED_PLATFORM names the file an in-tree platform piece is known by when it is built to stand alone.
function(qx_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "SHARED_PLATFORM;HEADERS_BASE" "SOURCES;HEADERS;LINK_PUBLIC;LINK_PRIVATE")
    set(kind STATIC)
    if(arg_SHARED_PLATFORM AND QX_PLATFORM_SHARED)
        set(kind SHARED)
    endif()
    add_library(qx_${name} ${kind})
    add_library(qx::${name} ALIAS qx_${name})
    target_sources(qx_${name}
        PRIVATE ${arg_SOURCES}
        PUBLIC FILE_SET HEADERS BASE_DIRS ${arg_HEADERS_BASE} FILES ${arg_HEADERS})
    target_compile_features(qx_${name} PUBLIC cxx_std_20)
    target_link_libraries(qx_${name} PUBLIC ${arg_LINK_PUBLIC} PRIVATE ${arg_LINK_PRIVATE} $<BUILD_INTERFACE:qx::build_options>)
    set_target_properties(qx_${name} PROPERTIES EXPORT_NAME ${name} VERIFY_INTERFACE_HEADER_SETS ON)
    if(kind STREQUAL SHARED)
        set_target_properties(qx_${name} PROPERTIES OUTPUT_NAME ${arg_SHARED_PLATFORM})
    endif()
endfunction()

# qx_external_library(<name> ROOT <variable> LIBRARY <name> [HEADER <file>])
# The same target name, for a library that somebody else built and installed under the root.
function(qx_external_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "ROOT;LIBRARY;HEADER" "")
    if(NOT ${arg_ROOT})
        message(FATAL_ERROR "${arg_ROOT} must name the folder of the external ${name}")
    endif()
    find_library(QX_EXTERNAL_${arg_LIBRARY} NAMES ${arg_LIBRARY} PATHS ${${arg_ROOT}}/lib NO_DEFAULT_PATH NO_CACHE REQUIRED)
    add_library(qx_${name} UNKNOWN IMPORTED GLOBAL)
    add_library(qx::${name} ALIAS qx_${name})
    set_target_properties(qx_${name} PROPERTIES IMPORTED_LOCATION ${QX_EXTERNAL_${arg_LIBRARY}})
    if(arg_HEADER)
        find_path(QX_EXTERNAL_${arg_LIBRARY}_INCLUDE ${arg_HEADER} PATHS ${${arg_ROOT}}/include NO_DEFAULT_PATH NO_CACHE REQUIRED)
        target_include_directories(qx_${name} INTERFACE ${QX_EXTERNAL_${arg_LIBRARY}_INCLUDE})
    endif()
endfunction()
