# GoogleTest, built from the system's sources (cross-built for Windows, or
# natively for the Posix build), and a helper that adds one CTest test per
# GoogleTest executable (run under Wine by the emulator on Windows).
set(OSTRA_GTEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest sources")
# A second build tree (scripts/test's hardened one, and its thread
# sanitizer one) may link the libraries another tree of the same platform
# built instead of compiling GoogleTest again: its ABI does not depend on
# the hardening or sanitizer flags, and GoogleTest is not what is under test.
set(OSTRA_GTEST_FROM "" CACHE PATH "Build tree of this project whose GoogleTest libraries to link")
if(OSTRA_GTEST_FROM)
  find_package(Threads REQUIRED)
  include(${OSTRA_GTEST_FROM}/googletest/OstraGTestTargets.cmake)
else()
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  # No suite of the Posix build uses GoogleMock; leaving it out saves most
  # of GoogleTest's build time there.
  if(OSTRA_POSIX)
    set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
  else()
    set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
  endif()
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  add_subdirectory(${OSTRA_GTEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  if(OSTRA_POSIX)
    export(TARGETS gtest gtest_main FILE ${CMAKE_BINARY_DIR}/googletest/OstraGTestTargets.cmake)
  else()
    export(TARGETS gtest gtest_main gmock FILE ${CMAKE_BINARY_DIR}/googletest/OstraGTestTargets.cmake)
  endif()
endif()
if(OSTRA_POSIX)
  set(OSTRA_GTEST_LIBS gtest_main)
else()
  set(OSTRA_GTEST_LIBS gmock gtest_main)
endif()

# ostra_add_test(<name> SOURCES ... [WINDOWS_SOURCES ...] LIBS ...)
# WINDOWS_SOURCES are the suites that need Windows itself (Win32 calls in
# the code under test or in the test); the Posix build leaves them out.
# This list is the one place that decides which tests run natively.
function(ostra_add_test name)
  cmake_parse_arguments(A "" "" "SOURCES;WINDOWS_SOURCES;LIBS" ${ARGN})
  if(NOT OSTRA_POSIX)
    list(APPEND A_SOURCES ${A_WINDOWS_SOURCES})
  endif()
  add_executable(${name} ${A_SOURCES} ${PROJECT_SOURCE_DIR}/Tests/Support/TestTimeLimit.cpp)
  target_link_libraries(${name} PRIVATE ${A_LIBS} ${OSTRA_GTEST_LIBS} ostra_build_settings)
  # Test code is compiled for line tables and light optimisation: a test
  # object builds in half the time, and what runs fast is the library.
  target_compile_options(${name} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-O1> $<$<NOT:$<CONFIG:Debug>>:-g1>)
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1
           WORKING_DIRECTORY ${OSTRA_RUNTIME_DIR})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300)
  if(OSTRA_POSIX)
    set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT ${OSTRA_SANITIZER_ENVIRONMENT})
    target_compile_options(${name} PRIVATE -include ${PROJECT_SOURCE_DIR}/Tests/Support/NativePrinters.h)
  endif()
  ostra_test_uses_wine(${name})
endfunction()

# Every sanitizer report ends the test program with a failure. Allocations
# beyond what the sanitizer supports answer null, as they would on Windows,
# where the tests of out-of-memory paths expect exactly that.
set(OSTRA_SANITIZER_ENVIRONMENT
  "ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1:abort_on_error=0:detect_stack_use_after_return=1:strict_string_checks=1"
  "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1"
  "TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:allocator_may_return_null=1")

# The Posix build's 16-bit wchar_t must never reach the system's 32-bit
# wide-character code (cmake/CheckWideABI.cmake).
if(OSTRA_POSIX)
  add_test(NAME wide_abi COMMAND ${CMAKE_COMMAND} -DBUILD_DIR=${CMAKE_BINARY_DIR}
           -P ${CMAKE_CURRENT_LIST_DIR}/CheckWideABI.cmake)
endif()

# One Wine server for the whole run: started before the first test that
# needs it and stopped after the last.
if(CMAKE_CROSSCOMPILING_EMULATOR)
  add_test(NAME wine_start COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} --start)
  add_test(NAME wine_stop COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} --stop)
  set_tests_properties(wine_start PROPERTIES FIXTURES_SETUP wine TIMEOUT 300)
  set_tests_properties(wine_stop PROPERTIES FIXTURES_CLEANUP wine)
endif()

function(ostra_test_uses_wine name)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    set_tests_properties(${name} PROPERTIES FIXTURES_REQUIRED wine)
  endif()
endfunction()
