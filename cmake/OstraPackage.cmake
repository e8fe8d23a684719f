# Install rules: stripped DLLs and the MinGW runtime in bin/ with their debug
# information beside them, GNU import libraries in lib/ and the C
# interface's MSVC-style one in lib/msvc/, headers in
# include/{Ostra,strata,stratamedia,ostra}, the Boost headers those need in
# include/ostra-boost, a CMake package (find_package(OstraFoundation CONFIG),
# targets Ostra::OstraFoundation and Ostra::OstraFoundationC), a pkg-config
# file, the licences and the changelog. Nothing installed links or points
# outside the prefix, so the tree can be moved.
include(CMakePackageConfigHelpers)

set(OSTRA_LIBRARIES strata stratamedia OstraFoundation)
install(TARGETS ${OSTRA_LIBRARIES} ostra_boost
  EXPORT OstraFoundationTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
# The C interface is not in the exported targets: the package config makes
# Ostra::OstraFoundationC itself, with the import library the host's linker reads.
install(TARGETS OstraFoundationC
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${OSTRA_C_MSVC_IMPORT_LIBRARY} DESTINATION ${CMAKE_INSTALL_LIBDIR}/msvc)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/CApi/Inc/ostra DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Inc/Ostra DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/strata/Inc/strata DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/stratamedia/Inc/stratamedia DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/CHANGELOG.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The Boost headers the public headers reach, copied as real files by
# OstraBoostBundle.cmake: the package's Boost when a host brings none. Made
# by the install step itself, from the headers as they are then: installing
# needs nothing built but the libraries, and never ships a stale copy.
set(OSTRA_BOOST_INSTALL_INCLUDE ${CMAKE_INSTALL_INCLUDEDIR}/ostra-boost)
set(OSTRA_BOOST_BUNDLE ${CMAKE_BINARY_DIR}/boost-bundle)
set(probe ${CMAKE_BINARY_DIR}/boost-bundle-probe.cpp)
file(CONFIGURE OUTPUT ${probe} CONTENT [[
#include "Ostra/OstraFoundation.h"
#include "stratamedia/StrataMedia.h"
#include "strata/Strata.h"
]])
set(includes "$<TARGET_PROPERTY:OstraFoundation,INTERFACE_INCLUDE_DIRECTORIES>")
set(defines "$<TARGET_PROPERTY:OstraFoundation,INTERFACE_COMPILE_DEFINITIONS>")
install(CODE "
  message(STATUS \"Copying the Boost headers the public headers include\")
  execute_process(
    COMMAND \"${CMAKE_COMMAND}\" \"-DCXX=${CMAKE_CXX_COMPILER}\" \"-DSOURCE=${probe}\"
            \"-DFLAGS=-I$<JOIN:${includes},|-I>$<$<BOOL:${defines}>:|-D$<JOIN:${defines},|-D>>\"
            \"-DBOOST_INCLUDE=${OSTRA_BOOST_INCLUDE}\" \"-DOUTPUT=${OSTRA_BOOST_BUNDLE}\"
            -P \"${CMAKE_CURRENT_LIST_DIR}/OstraBoostBundle.cmake\"
    COMMAND_ERROR_IS_FATAL ANY)
")
install(DIRECTORY ${OSTRA_BOOST_BUNDLE}/boost DESTINATION ${OSTRA_BOOST_INSTALL_INCLUDE})
install(FILES ${CMAKE_CURRENT_LIST_DIR}/BoostLicense_1_0.txt
        DESTINATION ${OSTRA_BOOST_INSTALL_INCLUDE} RENAME LICENSE_1_0.txt)

# Every DLL goes to bin/ stripped, its debug information to <dll>.debug
# beside it, found by debuggers through the DLL's debug link. Made from the
# built file each time, so installing twice never strips a stripped copy.
set(dlls "")
foreach(dll ${OSTRA_LIBRARIES} OstraFoundationC ${OSTRA_MINGW_RUNTIME_DLLS})
  if(TARGET ${dll})
    set(dll $<TARGET_FILE:${dll}>)
  endif()
  string(APPEND dlls " \"${dll}\"")
endforeach()
install(CODE "
  foreach(dll ${dlls})
    get_filename_component(name \"\${dll}\" NAME)
    set(out \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/\${name}\")
    message(STATUS \"Installing: \${out} (stripped) and \${out}.debug\")
    execute_process(COMMAND \"${CMAKE_OBJCOPY}\" --only-keep-debug \"\${dll}\" \"\${out}.debug\"
                    COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug --strip-unneeded -o \"\${out}\" \"\${dll}\"
                    COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND \"${CMAKE_OBJCOPY}\" \"--add-gnu-debuglink=\${out}.debug\" \"\${out}\"
                    COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${out}\" \"\${out}.debug\")
  endforeach()
")

set(OSTRA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/OstraFoundation)
install(EXPORT OstraFoundationTargets NAMESPACE Ostra:: DESTINATION ${OSTRA_CMAKE_DIR})
# The compiler a host must use with this build (OstraFoundationConfig.cmake).
string(REGEX MATCH "^[0-9]+" OSTRA_CXX_COMPILER_MAJOR "${CMAKE_CXX_COMPILER_VERSION}")
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/OstraFoundationConfig.cmake.in
  ${CMAKE_BINARY_DIR}/OstraFoundationConfig.cmake INSTALL_DESTINATION ${OSTRA_CMAKE_DIR}
  PATH_VARS CMAKE_INSTALL_BINDIR CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR
            OSTRA_BOOST_INSTALL_INCLUDE)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/OstraFoundationConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/OstraFoundationConfig.cmake
              ${CMAKE_BINARY_DIR}/OstraFoundationConfigVersion.cmake
              ${CMAKE_CURRENT_LIST_DIR}/OstraFoundationBoost.cmake
        DESTINATION ${OSTRA_CMAKE_DIR})

# pkg-config for hosts built without CMake; its prefix is its own location.
file(RELATIVE_PATH OSTRA_PC_PREFIX ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_BINARY_DIR})
string(REGEX REPLACE "/$" "" OSTRA_PC_PREFIX "${OSTRA_PC_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/OstraFoundation.pc.in
               ${CMAKE_BINARY_DIR}/OstraFoundation.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/OstraFoundation.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
