# sirius_add_test(NAME <name> SOURCES <files...> [LIBS <targets...>] [THREADED] [QT_MAIN] [TIMEOUT <s>])
#
# One GoogleTest executable registered as one ctest test. THREADED marks tests that exercise more
# than one thread: scripts/test.sh runs exactly those again under ThreadSanitizer (ctest -L threaded).
# QT_MAIN runs the tests inside a QCoreApplication (event loop, timers, queued signals) and gives
# them tests/support/QtTestSupport.h.
include_guard(GLOBAL)

# Every test runs with these, so that a plain `ctest` in a sanitizer tree behaves like scripts/test.sh.
# Qt's glib event dispatcher hides its locking from ThreadSanitizer; the plain Unix one does not.
set(SIRIUS_TEST_ENVIRONMENT "QT_NO_GLIB=1;QT_QPA_PLATFORM=offscreen")
if(SIRIUS_SANITIZER STREQUAL "tsan")
  list(APPEND SIRIUS_TEST_ENVIRONMENT
       "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/tsan.supp:halt_on_error=1:second_deadlock_stack=1")
elseif(SIRIUS_SANITIZER STREQUAL "asan")
  list(APPEND SIRIUS_TEST_ENVIRONMENT
       "ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1"
       "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1"
       "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0")
endif()

function(sirius_add_test)
  cmake_parse_arguments(T "THREADED;QT_MAIN" "NAME;TIMEOUT" "SOURCES;LIBS" ${ARGN})
  add_executable(${T_NAME} ${T_SOURCES})
  if(T_QT_MAIN)
    set(main sirius_qt_test_main)
  else()
    set(main GTest::gtest_main)
  endif()
  target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} ${main} GTest::gmock Threads::Threads)
  add_test(NAME ${T_NAME} COMMAND ${T_NAME})
  set(labels unit)
  if(T_THREADED)
    list(APPEND labels threaded)
    # scripts/test.sh builds only these in the ThreadSanitizer tree.
    if(NOT TARGET sirius_threaded_tests)
      add_custom_target(sirius_threaded_tests)
    endif()
    add_dependencies(sirius_threaded_tests ${T_NAME})
  endif()
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 300)
  endif()
  set_tests_properties(${T_NAME} PROPERTIES LABELS "${labels}" TIMEOUT ${T_TIMEOUT}
                       ENVIRONMENT "${SIRIUS_TEST_ENVIRONMENT}")
endfunction()
