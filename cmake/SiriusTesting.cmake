# sirius_add_test(NAME <name> SOURCES <files...> [LIBS <targets...>] [THREADED] [QT_MAIN] [TIMEOUT <s>])
#
# One GoogleTest executable registered as one ctest test. THREADED marks tests that exercise more
# than one thread: scripts/test.sh runs exactly those again under ThreadSanitizer (ctest -L threaded).
# QT_MAIN runs the tests inside a QCoreApplication (event loop, timers, queued signals) and gives
# them tests/support/QtTestSupport.h.
include_guard(GLOBAL)

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
  endif()
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 300)
  endif()
  set_tests_properties(${T_NAME} PROPERTIES LABELS "${labels}" TIMEOUT ${T_TIMEOUT}
                       ENVIRONMENT "QT_NO_GLIB=1;QT_QPA_PLATFORM=offscreen")
endfunction()
