# cmake -DCANARY=<program> -DSUPPRESSIONS=<file> -DEXPECTED=<function>[,<function>...] -P this
#
# Runs a ThreadSanitizer canary (a program with deliberate data races in our own functions) with
# the project's suppressions and fails unless ThreadSanitizer reported a race in each expected
# function: the proof that the suppressions and annotations hide only Qt's invisible hand-overs.
set(ENV{TSAN_OPTIONS} "suppressions=${SUPPRESSIONS}:halt_on_error=0:exitcode=66")
set(ENV{QT_NO_GLIB} "1")
execute_process(COMMAND ${CANARY} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
string(REPLACE "," ";" expected "${EXPECTED}")
set(missing "")
foreach(function IN LISTS expected)
  string(FIND "${err}" "${function}" at)
  if(at EQUAL -1)
    list(APPEND missing ${function})
  endif()
endforeach()
string(FIND "${err}" "WARNING: ThreadSanitizer: data race" found)
if(found EQUAL -1 OR missing OR NOT rc EQUAL 66)
  message(FATAL_ERROR "the deliberate races were not all reported (exit ${rc}, missing: "
                      "${missing}):\n${err}")
endif()
message(STATUS "the deliberate races were reported, as they must be")
