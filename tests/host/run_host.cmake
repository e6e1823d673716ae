# Runs a host on a copy of a job and compares its output with a file.
#   HOST       the program and its arguments before the job
#   EMULATOR   what runs it, or empty
#   JOB, EXPECTED, WORK
file(MAKE_DIRECTORY ${WORK})
file(COPY_FILE ${JOB} ${WORK}/job.orv)
execute_process(COMMAND ${EMULATOR} ${HOST} job.orv WORKING_DIRECTORY ${WORK}
  RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
string(REPLACE "\r\n" "\n" output "${output}")
file(READ ${EXPECTED} expected)
if(NOT status STREQUAL 0 OR NOT output STREQUAL expected)
  message(FATAL_ERROR "${HOST}: status ${status}\n${output}${errors}")
endif()
