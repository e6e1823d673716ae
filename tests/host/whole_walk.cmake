# Runs minimal_host on a copy of a job with elements that cannot be read: it has a line for each
# chain and profile.
#   HOST, GOLDEN, WORK
file(MAKE_DIRECTORY ${WORK})
file(COPY_FILE ${GOLDEN}/job.orv ${WORK}/job.orv)
execute_process(COMMAND ${HOST} job.orv WORKING_DIRECTORY ${WORK} OUTPUT_VARIABLE output
  COMMAND_ERROR_IS_FATAL ANY)
file(READ ${GOLDEN}/expected.json expected)
set(number 0)
foreach(kind chains profiles)
  string(JSON count GET "${expected}" ${kind} count)
  math(EXPR number "${number} + ${count}")
endforeach()
string(REGEX MATCHALL "\n(chain|profile) " read "${output}")
string(REGEX MATCHALL "\nnumber [0-9]+ cannot be read" unread "${output}")
list(LENGTH read read)
list(LENGTH unread unread)
math(EXPR steps "${read} + ${unread}")
if(unread EQUAL 0 OR NOT steps EQUAL number)
  message(FATAL_ERROR "${read} read, ${unread} not, of ${number}:\n${output}")
endif()
