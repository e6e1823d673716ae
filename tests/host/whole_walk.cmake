# Runs minimal_host on a copy of a job with elements that cannot be read: it prints all other chains
# and profiles, and how many these are.
#   HOST, GOLDEN, WORK
file(MAKE_DIRECTORY ${WORK})
file(COPY_FILE ${GOLDEN}/job.orv ${WORK}/job.orv)
execute_process(COMMAND ${HOST} job.orv WORKING_DIRECTORY ${WORK}
  RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
file(READ ${GOLDEN}/expected.json expected)
set(number 0)
foreach(kind chains profiles)
  string(JSON count GET "${expected}" ${kind} count)
  math(EXPR number "${number} + ${count}")
endforeach()
string(REGEX MATCHALL "\n(chain|profile) " read "${output}")
list(LENGTH read read)
math(EXPR unread "${number} - ${read}")
if(NOT status EQUAL 1 OR unread EQUAL 0 OR NOT errors MATCHES "^${unread} that cannot be read")
  message(FATAL_ERROR "status ${status}, ${read} read of ${number}:\n${errors}\n${output}")
endif()
