# cmake -DBUILD_DIR= -DCONSUMER_DIR= -DEXAMPLES_DIR= -DRENDERER_SOURCE= -DRENDERER_IS_INSTALLED=
#       -DC_COMPILER= -DWORK_DIR= -DCONFIG= -P TestPackage.cmake

function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE status OUTPUT_VARIABLE output
        ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${ARGV} failed (${status}):\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --config "${CONFIG}" --prefix "${WORK_DIR}/installed")

# The renderer to start from, under a name of its own, as an author would make it.
file(READ "${RENDERER_SOURCE}" source)
string(REPLACE "\"example\"" "\"mine\"" source "${source}")
file(WRITE "${WORK_DIR}/mine.c" "${source}")
run(${CMAKE_COMMAND} -S "${CONSUMER_DIR}" -B "${WORK_DIR}/build"
    "-DCMAKE_PREFIX_PATH=${WORK_DIR}/installed" "-DCMAKE_BUILD_TYPE=${CONFIG}"
    "-DEXAMPLES_DIR=${EXAMPLES_DIR}" "-DRENDERER_SOURCE=${WORK_DIR}/mine.c")
run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")

# Run from the installed tree alone: the op types are found beside the installed libraries.
run("${WORK_DIR}/build/consumer" "${WORK_DIR}/scene.oxop")
if(NOT output STREQUAL "/root/world/geo polymesh\n")
    message(FATAL_ERROR "The program printed \"${output}\"")
endif()
run("${WORK_DIR}/build/walk_c" "${WORK_DIR}/scene.oxop")
if(NOT output STREQUAL "/root  \n/root/world  \n/root/world/geo  polymesh\n")
    message(FATAL_ERROR "The program in C printed \"${output}\"")
endif()
run("${WORK_DIR}/installed/bin/tellar" walk "${WORK_DIR}/scene.oxop")
if(NOT output MATCHES "geo")
    message(FATAL_ERROR "tellar printed \"${output}\"")
endif()

# Renderers: one that was built without CMake, from the installed headers alone, one that was built
# with it, and the installed one.
function(render name)
    run(${CMAKE_COMMAND} -E env "OX_PLUGIN_PATH=${ARGN}" "${WORK_DIR}/installed/bin/tellar" render
        "${EXAMPLES_DIR}/garden.json" -o "${WORK_DIR}/garden.txt" --renderer ${name})
    file(STRINGS "${WORK_DIR}/garden.txt" lines LIMIT_COUNT 1)
    if(NOT output STREQUAL "${WORK_DIR}/garden.txt\n" OR
            NOT lines STREQUAL "camera /root/world/cam/camera, perspective")
        message(FATAL_ERROR "tellar render printed \"${output}\", the picture says \"${lines}\"")
    endif()
endfunction()
file(MAKE_DIRECTORY "${WORK_DIR}/renderers" "${WORK_DIR}/renderers-by-cmake")
run("${C_COMPILER}" -std=c99 -Wall -Wextra -pedantic -Werror -shared -fPIC
    -I "${WORK_DIR}/installed/include" "${WORK_DIR}/mine.c" -o "${WORK_DIR}/renderers/mine.so")
render(mine "${WORK_DIR}/renderers")
file(COPY "${WORK_DIR}/build/renderer.so" DESTINATION "${WORK_DIR}/renderers-by-cmake")
render(mine "${WORK_DIR}/renderers-by-cmake")
if(RENDERER_IS_INSTALLED)
    render(example)
endif()
