# The installed files other than targets, and packages. There are three components: `runtime` for
# programs that use the library, `development` for building them, and `tools` with the command, the
# renderers and the examples.
include(CMakePackageConfigHelpers)

# The CMake package.
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/OxTellarProducers)
configure_package_config_file(cmake/OxTellarProducersConfig.cmake.in
    "${PROJECT_BINARY_DIR}/OxTellarProducersConfig.cmake" INSTALL_DESTINATION ${package_folder})
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(compatibility SameMinorVersion)
else()
    set(compatibility SameMajorVersion)
endif()
write_basic_package_version_file(
    "${PROJECT_BINARY_DIR}/OxTellarProducersConfigVersion.cmake" COMPATIBILITY ${compatibility})
install(FILES
    "${PROJECT_BINARY_DIR}/OxTellarProducersConfig.cmake"
    "${PROJECT_BINARY_DIR}/OxTellarProducersConfigVersion.cmake"
    DESTINATION ${package_folder} COMPONENT development)
install(EXPORT OxTellarProducersTargets NAMESPACE TELLAR::
    DESTINATION ${package_folder} COMPONENT development)

# Documents and examples keep their relative places, so that links between them work. They are not
# in the folder for documents, because some systems leave that empty and the examples must run.
set(data_folder ${CMAKE_INSTALL_DATADIR}/OxTellarProducers)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/oxtellarproducers
    RENAME copyright COMPONENT runtime)
install(FILES CHANGELOG.md CONTRIBUTING.md LICENSE README.md
    DESTINATION ${data_folder} COMPONENT development)
install(DIRECTORY docs DESTINATION ${data_folder} COMPONENT development)
install(FILES plugins/example_c/example_c.c
    DESTINATION ${data_folder}/plugins/example_c COMPONENT development)
install(FILES plugins/example_op/spiral.cpp plugins/example_op/turntable.c
    DESTINATION ${data_folder}/plugins/example_op COMPONENT development)
install(DIRECTORY examples DESTINATION ${data_folder} COMPONENT tools
    PATTERN CMakeLists.txt EXCLUDE PATTERN __pycache__ EXCLUDE)

if(NOT PROJECT_IS_TOP_LEVEL)
    return()
endif()

add_custom_target(uninstall
    COMMAND ${CMAKE_COMMAND} "-DBUILD_DIR=${PROJECT_BINARY_DIR}"
            -P "${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake"
    COMMENT "Removing what the last installation from this build put in place" VERBATIM)

# cpack makes one Debian package with all components.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME oxtellarproducers)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "scene-graph access for renderers and tools")
set(CPACK_PACKAGE_DESCRIPTION
    "A library that opens 3D scenes written as graphs of operations and hands them\n\
out as a tree of locations, its headers, the tellar command, and a renderer.")
set(CPACK_PACKAGE_CONTACT "The OxTellarProducers maintainers")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS graphviz)
# Our headers include headers of these packages.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libboost-dev, libimath-dev, rapidjson-dev")
# The packages of the linked libraries, found by their symbols.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)
