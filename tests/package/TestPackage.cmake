# cmake -DBUILD_DIR= -DCONSUMER_DIR= -DEXAMPLES_DIR= -DWORK_DIR= -DCONFIG= -P TestPackage.cmake

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
run(${CMAKE_COMMAND} -S "${CONSUMER_DIR}" -B "${WORK_DIR}/build"
    "-DCMAKE_PREFIX_PATH=${WORK_DIR}/installed" "-DCMAKE_BUILD_TYPE=${CONFIG}"
    "-DEXAMPLES_DIR=${EXAMPLES_DIR}")
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
