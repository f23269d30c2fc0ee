# Runs the canary with the project's suppressions and fails unless ThreadSanitizer reported the
# deliberate race in our own function.
set(ENV{TSAN_OPTIONS} "suppressions=${SUPPRESSIONS}:halt_on_error=0:exitcode=66")
set(ENV{QT_NO_GLIB} "1")
execute_process(COMMAND ${CANARY} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
string(FIND "${err}" "WARNING: ThreadSanitizer: data race" found)
string(FIND "${err}" "bumpFromContinuation" ours)
if(found EQUAL -1 OR ours EQUAL -1 OR NOT rc EQUAL 66)
  message(FATAL_ERROR "the deliberate race was not reported (exit ${rc}):\n${err}")
endif()
message(STATUS "the deliberate race was reported, as it must be")
