# cmake -DBUILD_DIR= -P Uninstall.cmake: removes the files of the last installation from a build
# folder, and our folders that are then empty. DESTDIR must be the same as for the installation.
file(GLOB manifests "${BUILD_DIR}/install_manifest*.txt")
if(NOT manifests)
    message(FATAL_ERROR "Nothing was installed from ${BUILD_DIR}: it has no install_manifest.txt")
endif()

# Folders with these names belong to the system and stay even if they are empty.
set(system_folders "/(bin|cmake|doc|include|lib[^/]*|pkgconfig|share)$")

function(remove_empty_folders folder)
    file(GLOB entries LIST_DIRECTORIES true "${folder}/*" "${folder}/.*")
    if(IS_DIRECTORY "${folder}" AND NOT entries AND NOT folder MATCHES "${system_folders}")
        file(REMOVE_RECURSE "${folder}")
        cmake_path(GET folder PARENT_PATH parent)
        remove_empty_folders("${parent}")
    endif()
endfunction()

foreach(manifest IN LISTS manifests)
    file(STRINGS "${manifest}" files)
    foreach(file IN LISTS files)
        set(file "$ENV{DESTDIR}${file}")
        message(STATUS "Removing ${file}")
        file(REMOVE "${file}")
        cmake_path(GET file PARENT_PATH folder)
        remove_empty_folders("${folder}")
    endforeach()
    file(REMOVE "${manifest}")
endforeach()
