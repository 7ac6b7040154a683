# cmake -DMAKE=<MakeSampleFiles> -DPYTHON=<python3> -DREADER=<read_attribute_file.py>
#       -DDAMAGE=<test_read_attribute_file.py> -DFOLDER=<folder> -P CheckSampleFiles.cmake
#
# Every file that the library writes, plain or compressed, must be what the Python reader, which
# shares nothing with the library, says of it.
file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
execute_process(COMMAND "${MAKE}" "${FOLDER}" COMMAND_ERROR_IS_FATAL ANY)
file(GLOB plain "${FOLDER}/*.oxa" "${FOLDER}/*.oxo")
file(GLOB compressed "${FOLDER}/*.oxz")
list(LENGTH plain count)
list(LENGTH compressed compressed_count)
if(count LESS 40 OR compressed_count LESS 4)
    message(FATAL_ERROR "only ${count} plain and ${compressed_count} compressed files to compare")
endif()
foreach(file IN LISTS plain compressed)
    string(REGEX REPLACE "\\.ox[aoz]$" ".xml" xml "${file}")
    execute_process(COMMAND "${PYTHON}" "${READER}" "${file}" "${xml}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
# A reader that finds everything equal proves nothing.
execute_process(COMMAND "${PYTHON}" "${READER}" "${FOLDER}/sample.oxa" "${FOLDER}/example.xml"
                RESULT_VARIABLE different ERROR_QUIET)
if(different EQUAL 0)
    message(FATAL_ERROR "the reader takes two different values for equal")
endif()
execute_process(COMMAND "${PYTHON}" -B "${DAMAGE}" "${FOLDER}" COMMAND_ERROR_IS_FATAL ANY)
message(STATUS "${count} plain and ${compressed_count} compressed files read alike")
