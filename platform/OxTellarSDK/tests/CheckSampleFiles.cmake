# cmake -DMAKE=<MakeSampleFiles> -DPYTHON=<python3> -DREADER=<read_attribute_file.py>
#       -DFOLDER=<folder> -P CheckSampleFiles.cmake
#
# Every file that the library writes must be what the Python reader, which shares nothing with the
# library, says of it.
file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
execute_process(COMMAND "${MAKE}" "${FOLDER}" COMMAND_ERROR_IS_FATAL ANY)
file(GLOB files "${FOLDER}/*.oxa" "${FOLDER}/*.oxo")
list(LENGTH files count)
if(count LESS 40)
    message(FATAL_ERROR "only ${count} files to compare")
endif()
foreach(file IN LISTS files)
    string(REGEX REPLACE "\\.ox[ao]$" ".xml" xml "${file}")
    execute_process(COMMAND "${PYTHON}" "${READER}" "${file}" "${xml}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
# A reader that finds everything equal proves nothing.
execute_process(COMMAND "${PYTHON}" "${READER}" "${FOLDER}/sample.oxa" "${FOLDER}/example.xml"
                RESULT_VARIABLE different ERROR_QUIET)
if(different EQUAL 0)
    message(FATAL_ERROR "the reader takes two different values for equal")
endif()
message(STATUS "${count} files read alike")
