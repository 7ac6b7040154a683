# The functions that declare targets, one for each kind of target, so that every library is built,
# exported and installed in the same way.

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

# The build tree has the folders of the installed tree: shared libraries in lib/, programs in bin/,
# op-type plug-ins in lib/tellar-plugins/ and renderers in lib/tellar-renderers/. Programs and
# libraries find plug-ins relative to themselves in both. Renderers have a folder of their own
# because they link large libraries and few programs draw.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(TELLAR_PLUGIN_SUBDIR "tellar-plugins")
set(TELLAR_RENDERER_SUBDIR "tellar-renderers")

# The compiler warnings for all targets: libraries, plug-ins, programs, tests and fuzzers.
if(MSVC)
    set(TELLAR_WARNINGS /W4)
else()
    set(TELLAR_WARNINGS
        -Wall -Wextra -Wpedantic -Wcast-align -Wcast-qual -Wimplicit-fallthrough -Wpointer-arith
        -Wundef
        $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes>
        $<$<COMPILE_LANGUAGE:CXX>:-Wextra-semi -Wnon-virtual-dtor -Wold-style-cast
            -Woverloaded-virtual -Wzero-as-null-pointer-constant>)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    list(APPEND TELLAR_WARNINGS
        -Wduplicated-branches -Wduplicated-cond -Wformat=2 -Wlogical-op -Wshadow=local
        $<$<COMPILE_LANGUAGE:CXX>:-Wsuggest-override>)
endif()

# The options of every target; never exported to users. Messages name source files relative to this
# folder, so that installed files do not contain the path of the build.
add_library(tellar_build_options INTERFACE)
target_compile_options(tellar_build_options INTERFACE
    ${TELLAR_WARNINGS} $<$<NOT:$<BOOL:${MSVC}>>:-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=>)
if(TELLAR_SANITIZE)
    target_compile_options(tellar_build_options INTERFACE
        -fsanitize=${TELLAR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tellar_build_options INTERFACE -fsanitize=${TELLAR_SANITIZE})
elseif(PROJECT_IS_TOP_LEVEL AND NOT DEFINED CMAKE_COMPILE_WARNING_AS_ERROR)
    # Not with sanitizers: GCC then warns falsely about its own library, and its manual advises
    # against combining the two.
    set(CMAKE_COMPILE_WARNING_AS_ERROR ON)
endif()

# The options of programs that run for a moment in tests. Compilers take twice as long to optimise
# their code as the libraries' code is. ThreadSanitizer would need the time again when they run.
add_library(tellar_test_options INTERFACE)
target_link_libraries(tellar_test_options INTERFACE tellar_build_options tellar_test_checks)
if(TELLAR_SANITIZE MATCHES "address")
    target_compile_options(tellar_test_options INTERFACE -O0)
elseif(NOT MSVC AND CMAKE_BUILD_TYPE STREQUAL "Release")
    target_compile_options(tellar_test_options INTERFACE -O1)
endif()

# UBSan checks the object of every call of a member function. These checks take compilers up to a
# third of the time for a test. AddressSanitizer still finds null and freed objects there, and
# libraries and plug-ins have all checks. The option has to follow the one that turns UBSan on, so
# it is a target of its own.
add_library(tellar_test_checks INTERFACE)
if(TELLAR_SANITIZE MATCHES "undefined")
    target_compile_options(tellar_test_checks INTERFACE
        -fno-sanitize=alignment,null,object-size,vptr)
endif()

# The options of every library that programs load. It stays in the process when the program closes
# it, because its suites, op types and functions for the ends of threads stay registered elsewhere and
# would dangle. It exports no names of the C++ standard library or of Boost.
function(tellar_loadable name)
    if(UNIX AND NOT APPLE)
        set(own_names "${PROJECT_SOURCE_DIR}/cmake/OwnNames.map")
        target_link_options(${name} PRIVATE
            -Wl,-z,nodelete "LINKER:--version-script=${own_names}")
        set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS "${own_names}")
    endif()
    set_property(GLOBAL APPEND PROPERTY TELLAR_LOADABLE_TARGETS ${name})
endfunction()

# The part of the version that compatible libraries share. Before 1.0, minor versions may be
# incompatible.
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(TELLAR_ABI_VERSION "0.${PROJECT_VERSION_MINOR}")
else()
    set(TELLAR_ABI_VERSION "${PROJECT_VERSION_MAJOR}")
endif()

# tellar_library(<name> [HEADERS_DIR <dir>] [PKG_CONFIG_REQUIRES <names...>] [SOURCES <files...>]):
# a shared library with the alias TELLAR::<name>, its headers in <dir> (default: include/). The
# headers of what it requires are included by its own. A library without SOURCES is made of layers.
function(tellar_library name)
    cmake_parse_arguments(ARG "" "HEADERS_DIR" "PKG_CONFIG_REQUIRES;SOURCES" ${ARGN})
    if(NOT ARG_HEADERS_DIR)
        set(ARG_HEADERS_DIR "${CMAKE_CURRENT_SOURCE_DIR}/include")
    endif()
    add_library(${name} SHARED ${ARG_SOURCES})
    add_library(TELLAR::${name} ALIAS ${name})
    string(TOUPPER ${name} upper)
    target_compile_definitions(${name} PRIVATE ${upper}_EXPORTS)
    target_include_directories(${name}
        PUBLIC $<BUILD_INTERFACE:${ARG_HEADERS_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    if(ARG_SOURCES)
        target_include_directories(${name} PRIVATE
            "${CMAKE_CURRENT_SOURCE_DIR}/src" "${CMAKE_CURRENT_SOURCE_DIR}"
            "${PROJECT_SOURCE_DIR}/platform/internal")
    endif()
    target_compile_features(${name} PUBLIC cxx_std_17)
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:tellar_build_options>)
    # Calls inside the library are direct. A program cannot replace its functions.
    if(UNIX AND NOT APPLE)
        target_compile_options(${name} PRIVATE -fno-semantic-interposition)
        target_link_options(${name} PRIVATE -Wl,-Bsymbolic-functions)
    endif()
    tellar_loadable(${name})
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${TELLAR_ABI_VERSION}
        INSTALL_RPATH "$ORIGIN")
    if(TELLAR_INSTALL)
        install(TARGETS ${name} EXPORT OxTellarProducersTargets
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
                COMPONENT runtime NAMELINK_COMPONENT development)
        install(DIRECTORY "${ARG_HEADERS_DIR}/"
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
        tellar_install_pkg_config(${name} ${ARG_PKG_CONFIG_REQUIRES})
    endif()
endfunction()

# tellar_layer(<library> <folder> [USES <layers...>] SOURCES <files...>): one folder of a library's
# sources. Its layer is named after the last part of the folder's path. A file finds headers by
# their bare names, in its own folder and in those of the layers that it uses, directly or through
# others. An #include that points up to a layer above therefore does not compile.
#
# A layer is compiled with the options of its library and sees the libraries that this links. Give
# the library no SOURCES of its own, because they would see no layer.
function(tellar_layer library folder)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
    cmake_path(GET folder FILENAME layer)
    set(name ${library}_${layer})
    list(TRANSFORM ARG_SOURCES PREPEND "${folder}/")
    list(TRANSFORM ARG_USES PREPEND "${library}_")
    string(TOUPPER ${library} upper)

    add_library(${name} OBJECT ${ARG_SOURCES})
    target_compile_definitions(${name} PRIVATE ${upper}_EXPORTS)
    target_compile_options(${name} PRIVATE $<TARGET_PROPERTY:${library},COMPILE_OPTIONS>)
    target_include_directories(${name}
        PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}/${folder}" "${PROJECT_SOURCE_DIR}/platform/internal"
        PRIVATE $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
    target_link_libraries(${name}
        PUBLIC ${ARG_USES}
        PRIVATE $<TARGET_PROPERTY:${library},LINK_LIBRARIES>)
    target_sources(${library} PRIVATE $<TARGET_OBJECTS:${name}>)
endfunction()

# tellar_inside(<target> <library> <layers...>): lets a test or a fuzzer include the private headers
# of some layers and of those that they use.
function(tellar_inside target library)
    foreach(layer IN LISTS ARGN)
        target_include_directories(${target} PRIVATE
            $<TARGET_PROPERTY:${library}_${layer},INTERFACE_INCLUDE_DIRECTORIES>)
    endforeach()
endfunction()

# tellar_layer_test(<library> <lower layer> <upper layer> <header>): a test that files of the lower
# layer cannot include a header of the upper one.
function(tellar_layer_test library lower upper header)
    get_target_property(folders ${library}_${upper} INTERFACE_INCLUDE_DIRECTORIES)
    list(GET folders 0 folder)
    if(NOT EXISTS "${folder}/${header}")
        message(FATAL_ERROR "tellar_layer_test: layer ${upper} has no ${header}")
    endif()
    set(includes "$<TARGET_PROPERTY:${library}_${lower},INCLUDE_DIRECTORIES>")
    set(name ${library}.${lower}_cannot_include_${upper})
    add_test(NAME ${name}
        COMMAND ${CMAKE_CXX_COMPILER} -E "-I$<JOIN:${includes},;-I>" -include ${header}
                -x c++ /dev/null
        COMMAND_EXPAND_LISTS)
    set_tests_properties(${name} PROPERTIES
        ENVIRONMENT LC_ALL=C
        PASS_REGULAR_EXPRESSION "${header}: No such file|'${header}' file not found")
endfunction()

# tellar_layers_test(<library> <layers...>): a test that no layer of the library, named from the bottom
# up, uses a function of a layer above it. Public headers declare functions of all layers.
function(tellar_layers_test library)
    find_package(Python3 3.9 REQUIRED COMPONENTS Interpreter)
    set(layers "")
    foreach(layer IN LISTS ARGN)
        list(APPEND layers ${layer} $<TARGET_OBJECTS:${library}_${layer}>)
    endforeach()
    add_test(NAME ${library}.layers_use_lower_ones
        COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/tests/check_layers.py"
                "${CMAKE_NM}" ${layers}
        COMMAND_EXPAND_LISTS)
endfunction()

# The pkg-config file of a library. Its paths are relative to the file itself, so that the
# installed tree can be moved.
function(tellar_install_pkg_config library)
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
        BASE_DIRECTORY "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE prefix)
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
        BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" OUTPUT_VARIABLE libdir)
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR
        BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" OUTPUT_VARIABLE includedir)
    string(REPLACE ";" " " requires "${ARGN}")
    set(file "${CMAKE_CURRENT_BINARY_DIR}/${library}.pc")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/library.pc.in" "${file}" @ONLY)
    install(FILES "${file}"
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()

# A loadable module in a folder beside the libraries, where these look for it.
function(tellar_module name folder component)
    add_library(${name} MODULE ${ARGN})
    target_include_directories(${name} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:tellar_build_options>)
    tellar_loadable(${name})
    set_target_properties(${name} PROPERTIES
        PREFIX "" LIBRARY_OUTPUT_DIRECTORY "$<TARGET_FILE_DIR:OxTellarSDK>/${folder}"
        INSTALL_RPATH "$ORIGIN/..")
    if(TELLAR_INSTALL)
        install(TARGETS ${name} LIBRARY
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/${folder} COMPONENT ${component})
    endif()
endfunction()

# All op types of the project. Programs that open scenes load them at run time and link none of
# them; linking this target builds them too.
add_custom_target(tellar_plugins)
add_library(tellar_op_types INTERFACE)
add_dependencies(tellar_op_types tellar_plugins)

# tellar_plugin(<name> SOURCES <files...>): a plug-in that every program loads.
function(tellar_plugin name)
    cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
    tellar_module(${name} ${TELLAR_PLUGIN_SUBDIR} runtime ${ARG_SOURCES})
    add_dependencies(tellar_plugins ${name})
endfunction()

# tellar_plugin_program(<name> <plug-in> SOURCES <files...>): a program that a plug-in starts. It
# stands beside the plug-in.
function(tellar_plugin_program name plugin)
    cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:tellar_build_options>)
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "$<TARGET_FILE_DIR:OxTellarSDK>/${TELLAR_PLUGIN_SUBDIR}"
        INSTALL_RPATH "$ORIGIN/..")
    add_dependencies(${plugin} ${name})
    if(TELLAR_INSTALL)
        install(TARGETS ${name} RUNTIME
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/${TELLAR_PLUGIN_SUBDIR} COMPONENT runtime)
    endif()
endfunction()

# All renderers of the project.
add_custom_target(tellar_renderers)

# tellar_renderer_plugin(<name> SOURCES <files...>): a plug-in that draws pictures,
# with the headers that such plug-ins see.
function(tellar_renderer_plugin name)
    cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
    tellar_module(${name} ${TELLAR_RENDERER_SUBDIR} tools ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE tellar_plugin_headers)
    add_dependencies(tellar_renderers ${name})
endfunction()

# The tests that run under ThreadSanitizer, which need no other target.
if(TELLAR_BUILD_TESTS)
    add_custom_target(threaded_tests)
endif()

# tellar_test(<name> SOURCES <files...> LIBS <targets...>): a GoogleTest program as one test,
# which fails when there is no case in it; LABELS threaded marks what runs under TSan.
function(tellar_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock_main tellar_test_options)
    if(TELLAR_PRECOMPILE_HEADERS)
        target_precompile_headers(${name} REUSE_FROM tellar_test_headers)
        list(FILTER ARG_SOURCES INCLUDE REGEX "\\.c$")
        set_source_files_properties(${ARG_SOURCES} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    endif()
    add_test(NAME ${name} COMMAND ${name})
    if("threaded" IN_LIST ARG_LABELS)
        add_dependencies(threaded_tests ${name} tellar_plugins)
    endif()
    set_tests_properties(${name} PROPERTIES
        LABELS "${ARG_LABELS}" TIMEOUT 900 FAIL_REGULAR_EXPRESSION "Running 0 tests")
endfunction()

# tellar_long_tests(<seconds> <tests...>): the time of tests that take longest, in the build that takes
# longest for them. ctest starts them first, so that no processor is left with one of them at the end.
# Without this it would know the times only where it has run before.
function(tellar_long_tests seconds)
    set_tests_properties(${ARGN} PROPERTIES COST ${seconds})
endfunction()

# tellar_seed_test(<fuzzer> <folders of seeds...> SOURCES <files...> LIBS <targets...>): runs the
# fuzzer's function once over each of its seeds, with any compiler.
function(tellar_seed_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    set(fuzz "${PROJECT_SOURCE_DIR}/fuzz")
    list(TRANSFORM ARG_UNPARSED_ARGUMENTS PREPEND "${fuzz}/seeds/")
    add_executable(${name}Seeds ${fuzz}/${name}.cpp ${fuzz}/RunSeeds.cpp ${ARG_SOURCES})
    target_link_libraries(${name}Seeds PRIVATE ${ARG_LIBS} tellar_test_options)
    add_test(NAME ${name}Seeds COMMAND ${name}Seeds ${ARG_UNPARSED_ARGUMENTS})
endfunction()
