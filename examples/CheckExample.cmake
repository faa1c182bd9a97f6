# Runs an example and compares status, output and silence on standard error with what is expected.
string(REPLACE "|" ";" ARGUMENTS "${ARGUMENTS}")
execute_process(COMMAND ${PROGRAM} ${MODULE} ${FILE} ${ARGUMENTS}
    RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
if(NOT status EQUAL 0 OR NOT errors STREQUAL "")
    message(FATAL_ERROR "status ${status}, standard error: ${errors}")
endif()
file(READ ${EXPECTED} expected)
if(NOT output STREQUAL expected)
    message(FATAL_ERROR "The output differs from ${EXPECTED}:\n${output}")
endif()
