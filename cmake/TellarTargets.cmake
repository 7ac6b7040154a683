# How this project declares its targets: one function per kind, so that every
# library is built, exported and installed the same way.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# All shared libraries in lib/, all programs in bin/, the op-type plug-ins in
# lib/tellar-plugins/ and the renderers in lib/tellar-renderers/, the same shape as
# the installed tree: programs and libraries find the plug-ins relative to
# themselves in both. Renderers have a folder of their own because the libraries
# that they bring are large, and few programs draw.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(TELLAR_PLUGIN_SUBDIR "tellar-plugins")
set(TELLAR_RENDERER_SUBDIR "tellar-renderers")

# What every target of ours is compiled with; never exported to users.
add_library(tellar_build_options INTERFACE)
target_compile_options(tellar_build_options INTERFACE
    -Wall -Wextra -Wpedantic
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>)
if(TELLAR_SANITIZE)
    target_compile_options(tellar_build_options INTERFACE
        -fsanitize=${TELLAR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tellar_build_options INTERFACE -fsanitize=${TELLAR_SANITIZE})
else()
    # Not in a sanitized build: there GCC takes some of its own library's code for
    # uninitialised, and says itself that the two should not be combined.
    target_compile_options(tellar_build_options INTERFACE -Werror)
endif()

# Keeps a library in the process when the program closes it. Suites and op types stay registered
# with others, and so do functions for the ends of threads: all that would be left dangling.
function(tellar_stays_loaded name)
    if(UNIX AND NOT APPLE)
        target_link_options(${name} PRIVATE -Wl,-z,nodelete)
    endif()
    set_property(GLOBAL APPEND PROPERTY TELLAR_LOADABLE_TARGETS ${name})
endfunction()

# tellar_library(<name> [HEADERS_DIR <dir>] SOURCES <files...>): a shared library
# with the alias TELLAR::<name>, its headers in <dir> (default: include/).
function(tellar_library name)
    cmake_parse_arguments(ARG "" "HEADERS_DIR" "SOURCES" ${ARGN})
    if(NOT ARG_HEADERS_DIR)
        set(ARG_HEADERS_DIR "${CMAKE_CURRENT_SOURCE_DIR}/include")
    endif()
    add_library(${name} SHARED ${ARG_SOURCES})
    add_library(TELLAR::${name} ALIAS ${name})
    string(TOUPPER ${name} upper)
    target_compile_definitions(${name} PRIVATE ${upper}_EXPORTS)
    target_include_directories(${name}
        PUBLIC $<BUILD_INTERFACE:${ARG_HEADERS_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
        PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/src" "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:tellar_build_options>)
    # Calls inside of the library stay inside, without the detour that would let a program put
    # its own functions in their place.
    if(UNIX AND NOT APPLE)
        target_compile_options(${name} PRIVATE -fno-semantic-interposition)
        target_link_options(${name} PRIVATE -Wl,-Bsymbolic-functions)
    endif()
    tellar_stays_loaded(${name})
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
        INSTALL_RPATH "$ORIGIN")
    install(TARGETS ${name} EXPORT OxTellarProducersTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(DIRECTORY "${ARG_HEADERS_DIR}/" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endfunction()

# A loadable module in a folder beside the libraries, where the system's loader
# finds these.
function(tellar_module name folder)
    add_library(${name} MODULE ${ARGN})
    target_include_directories(${name} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:tellar_build_options>)
    tellar_stays_loaded(${name})
    set_target_properties(${name} PROPERTIES
        PREFIX "" LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib/${folder}"
        INSTALL_RPATH "$ORIGIN/..")
    install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/${folder})
endfunction()

# All op types that come with the project: what a program that opens scenes waits for.
add_custom_target(tellar_plugins)

# tellar_plugin(<name> SOURCES <files...>): a plug-in that every program loads.
function(tellar_plugin name)
    cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
    tellar_module(${name} ${TELLAR_PLUGIN_SUBDIR} ${ARG_SOURCES})
    add_dependencies(tellar_plugins ${name})
endfunction()

# All renderers that come with the project.
add_custom_target(tellar_renderers)

# tellar_renderer_plugin(<name> SOURCES <files...>): a plug-in that draws pictures,
# with the headers that such plug-ins see.
function(tellar_renderer_plugin name)
    cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
    tellar_module(${name} ${TELLAR_RENDERER_SUBDIR} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE tellar_plugin_headers)
    add_dependencies(tellar_renderers ${name})
endfunction()

# What runs under ThreadSanitizer; nothing else need be built for it.
add_custom_target(threaded_tests)

# tellar_test(<name> SOURCES <files...> LIBS <targets...>): a GoogleTest program as one test,
# which fails when there is no case in it; LABELS threaded marks what runs under TSan.
function(tellar_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock_main tellar_build_options)
    add_test(NAME ${name} COMMAND ${name})
    if("threaded" IN_LIST ARG_LABELS)
        add_dependencies(threaded_tests ${name} tellar_plugins)
    endif()
    set_tests_properties(${name} PROPERTIES
        LABELS "${ARG_LABELS}" TIMEOUT 900 FAIL_REGULAR_EXPRESSION "Running 0 tests")
endfunction()

# tellar_seed_test(<fuzzer> <folders of seeds...> SOURCES <files...> LIBS <targets...>): runs the
# fuzzer's function once over each of its seeds, with any compiler.
function(tellar_seed_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    set(fuzz "${PROJECT_SOURCE_DIR}/fuzz")
    list(TRANSFORM ARG_UNPARSED_ARGUMENTS PREPEND "${fuzz}/seeds/")
    add_executable(${name}Seeds ${fuzz}/${name}.cpp ${fuzz}/RunSeeds.cpp ${ARG_SOURCES})
    target_link_libraries(${name}Seeds PRIVATE ${ARG_LIBS} tellar_build_options)
    add_test(NAME ${name}Seeds COMMAND ${name}Seeds ${ARG_UNPARSED_ARGUMENTS})
endfunction()
