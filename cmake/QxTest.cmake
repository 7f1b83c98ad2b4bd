find_package(GTest REQUIRED)
include(GoogleTest)

# qx_test(<name> SOURCES … LINK … [LABELS …] [TIMEOUT <seconds>]); the label is "unit" unless another is given
# One GoogleTest program; each of its cases becomes a CTest case named <program>.<suite>.<case>.
# A test program that defines the functions of a platform interface itself (tests/doubles) takes precedence over the
# library that the code under test names: the linker takes a static archive's member, or a shared library's symbol,
# only for what is still undefined.
function(qx_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LINK;LABELS")
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 60)
    endif()
    if(NOT arg_LABELS)
        set(arg_LABELS unit)
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${arg_LINK} GTest::gmock_main qx::build_options)
    # The code under test keeps its optimisation; optimising the checks in a test's macros costs as long again as
    # everything else of a sanitizer build.
    if(QX_SANITIZE)
        target_compile_options(${name} PRIVATE -O0)
    endif()
    gtest_discover_tests(${name}
        TEST_PREFIX ${name}.
        DISCOVERY_TIMEOUT 60
        NO_PRETTY_VALUES   # a parameter without a printer would put addresses into the name
        PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}")
endfunction()
