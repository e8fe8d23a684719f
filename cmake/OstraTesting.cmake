# GoogleTest, cross-built from the system's sources, and a helper that adds
# one CTest test per GoogleTest executable (run under Wine by the emulator).
set(OSTRA_GTEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest sources")
# A second build tree (scripts/test's hardened one) may link the libraries
# another tree built instead of compiling GoogleTest again: its ABI does not
# depend on the hardening flags, and GoogleTest is not what is under test.
set(OSTRA_GTEST_FROM "" CACHE PATH "Build tree of this project whose GoogleTest libraries to link")
if(OSTRA_GTEST_FROM)
  find_package(Threads REQUIRED)
  include(${OSTRA_GTEST_FROM}/googletest/OstraGTestTargets.cmake)
else()
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  add_subdirectory(${OSTRA_GTEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  export(TARGETS gtest gtest_main gmock FILE ${CMAKE_BINARY_DIR}/googletest/OstraGTestTargets.cmake)
endif()

# ostra_add_test(<name> SOURCES ... LIBS ...)
function(ostra_add_test name)
  cmake_parse_arguments(A "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${A_SOURCES})
  target_link_libraries(${name} PRIVATE ${A_LIBS} gmock gtest_main ostra_build_settings)
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1
           WORKING_DIRECTORY ${OSTRA_RUNTIME_DIR})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300)
  ostra_test_uses_wine(${name})
endfunction()

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
