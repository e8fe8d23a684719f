# Shared build settings: output layout, Windows macros, Boost headers, the
# MinGW runtime and the Wine runner; for the Posix build its wide characters
# and sanitizers.

# Every DLL and executable lands in one folder so programs find their DLLs.
set(OSTRA_RUNTIME_DIR ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${OSTRA_RUNTIME_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

# Nothing is exported unless marked with a library's export macro.
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_library(ostra_build_settings INTERFACE)
target_compile_definitions(ostra_build_settings INTERFACE
  UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
if(MSVC)
  target_compile_options(ostra_build_settings INTERFACE /W4 /utf-8 /EHsc)
else()
  target_compile_options(ostra_build_settings INTERFACE -Wall -Wextra
    -Wno-unknown-pragmas)
endif()

# The hardened build (scripts/test runs it beside the normal one) stops at
# the first fault instead of running on: undefined behaviour executes a trap
# instruction (no sanitizer run-time needed), libstdc++ checks indices and
# preconditions, and stack overruns and overflowing fortified C calls abort.
# Fortifying needs optimisation; the stack protector needs libssp-0.dll.
if(OSTRA_HARDENED)
  if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    message(FATAL_ERROR "OSTRA_HARDENED needs an optimised build type (-O1 or above)")
  endif()
  set(OSTRA_HARDENED_FLAGS "-fsanitize=undefined -fsanitize-undefined-trap-on-error -D_GLIBCXX_ASSERTIONS -fstack-protector-strong -D_FORTIFY_SOURCE=2"
      CACHE STRING "Compiler and linker flags of the hardened build")
  separate_arguments(hardened_flags UNIX_COMMAND "${OSTRA_HARDENED_FLAGS}")
  # Not for resource scripts: windres knows none of them.
  add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:${hardened_flags}>")
  add_link_options(${hardened_flags})
endif()

if(OSTRA_POSIX)
  # UTF16String holds wchar_t, 16 bits wide on Windows; here too, so that the
  # same sources and literals build both ways. The C library's and the C++
  # library's own wide-character functions assume 32 bits and must not be
  # called: strata/String.h gives the string its own character traits, and
  # the wide_abi test fails on any reference to them.
  add_compile_options(-fshort-wchar)
  # The sanitizers of the build (scripts/test builds address,undefined and
  # thread): any report stops the program, so a test run passes only clean.
  # Our own targets get them; GoogleTest stays uninstrumented, so that one
  # build of it serves both trees.
  set(OSTRA_SANITIZE "" CACHE STRING "Posix build: the -fsanitize= list (address,undefined or thread)")
  if(OSTRA_SANITIZE)
    set(OSTRA_SANITIZER_FLAGS
        "-fsanitize=${OSTRA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer"
        CACHE STRING "Compiler and linker flags of the sanitizer build")
    separate_arguments(sanitizer_flags UNIX_COMMAND "${OSTRA_SANITIZER_FLAGS}")
    target_compile_options(ostra_build_settings INTERFACE ${sanitizer_flags})
    target_link_options(ostra_build_settings INTERFACE ${sanitizer_flags})
  endif()
  # The fuzz targets (Fuzz/) need clang; the libraries get its coverage
  # instrumentation so that the fuzzer sees their edges.
  option(OSTRA_FUZZ "Posix build with clang: build the libFuzzer targets of Fuzz/" OFF)
  if(OSTRA_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
      message(FATAL_ERROR "OSTRA_FUZZ needs clang (libFuzzer)")
    endif()
    target_compile_options(ostra_build_settings INTERFACE -fsanitize=fuzzer-no-link)
  endif()
  find_package(Threads REQUIRED)
endif()

# Boost is header-only. The cross compiler must never see /usr/include as a
# whole, so it gets a folder that holds only a link to the boost headers.
include(${CMAKE_CURRENT_LIST_DIR}/OstraFoundationBoost.cmake)
set(OSTRA_BOOST_ROOT "/usr/include/boost" CACHE PATH
    "Boost headers: the boost folder (holding shared_ptr.hpp) or a folder holding boost/")
ostra_boost_include_dir("${OSTRA_BOOST_ROOT}" ${CMAKE_BINARY_DIR}/boost-include OSTRA_BOOST_INCLUDE)
if(NOT OSTRA_BOOST_INCLUDE)
  message(FATAL_ERROR "Boost headers not found at ${OSTRA_BOOST_ROOT}")
endif()
# Exported as Ostra::boost_headers without a folder: the package config
# decides where a host's Boost comes from.
add_library(ostra_boost INTERFACE)
set_target_properties(ostra_boost PROPERTIES EXPORT_NAME boost_headers)
target_include_directories(ostra_boost SYSTEM INTERFACE $<BUILD_INTERFACE:${OSTRA_BOOST_INCLUDE}>)

# The MinGW C++ runtime is shared (one heap and one set of exception types
# for the host and every DLL); it travels beside our DLLs.
set(OSTRA_MINGW_RUNTIME_DLLS)
if(MINGW)
  set(runtime_dlls libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  if(OSTRA_HARDENED)
    list(APPEND runtime_dlls libssp-0.dll)
  endif()
  foreach(dll ${runtime_dlls})
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
                    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${path}" OR NOT EXISTS "${path}")
      message(FATAL_ERROR "MinGW runtime ${dll} not found")
    endif()
    file(COPY ${path} DESTINATION ${OSTRA_RUNTIME_DIR})
    list(APPEND OSTRA_MINGW_RUNTIME_DLLS ${path})
  endforeach()
endif()

# Windows programs of this build run under Wine when built on Linux.
if(CMAKE_CROSSCOMPILING AND CMAKE_HOST_UNIX)
  find_program(OSTRA_WINE NAMES wine64 PATHS /usr/lib/wine NO_DEFAULT_PATH)
  find_program(OSTRA_WINE NAMES wine64 wine)
  find_program(OSTRA_WINESERVER NAMES wineserver PATHS /usr/lib/wine NO_DEFAULT_PATH)
  find_program(OSTRA_WINESERVER NAMES wineserver)
  if(NOT OSTRA_WINE OR NOT OSTRA_WINESERVER)
    message(FATAL_ERROR "wine64 is needed to run the tests (scripts/setup)")
  endif()
  # Build trees may share one prefix (scripts/test points the hardened
  # build at the normal one's) to create it only once.
  set(OSTRA_WINEPREFIX ${CMAKE_BINARY_DIR}/wineprefix CACHE PATH "Wine prefix of the tests")
  configure_file(${CMAKE_CURRENT_LIST_DIR}/wine-run.in
                 ${CMAKE_BINARY_DIR}/wine-run @ONLY
                 FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
                                  GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_BINARY_DIR}/wine-run)
endif()

# ostra_add_library(<name> EXPORT_DEFINE <def> INCLUDE_DIR <dir> SOURCES ...)
# A shared library whose public headers live in <dir>, private ones in SOURCE_DIR
# (default Src/), and whose export macro
# switches to dllexport when <def> is defined.
function(ostra_add_library name)
  cmake_parse_arguments(A "" "EXPORT_DEFINE;INCLUDE_DIR;SOURCE_DIR" "SOURCES;LIBS;PRIVATE_LIBS" ${ARGN})
  if(NOT A_SOURCE_DIR)
    set(A_SOURCE_DIR ${CMAKE_CURRENT_SOURCE_DIR}/Src)
  endif()
  add_library(${name} SHARED ${A_SOURCES})
  # strata.dll and strata.lib, as on every Windows toolchain.
  if(WIN32)
    set_target_properties(${name} PROPERTIES PREFIX "" IMPORT_PREFIX "" IMPORT_SUFFIX ".lib")
  endif()
  target_compile_definitions(${name} PRIVATE ${A_EXPORT_DEFINE})
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${A_INCLUDE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
    PRIVATE ${A_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${A_LIBS} PRIVATE ostra_build_settings ${A_PRIVATE_LIBS})
  add_library(Ostra::${name} ALIAS ${name})
endfunction()
