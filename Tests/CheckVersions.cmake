# The project's version must be in each DLL's version resource (read back
# by windres) and in the package's ConfigVersion file.
# cmake -DWINDRES=<windres> -DVERSION=<x.y.z> -DCONFIG_VERSION=<file>
#       -DDLL_DIR=<folder of the DLLs> -P CheckVersions.cmake
string(REPLACE "." ", " numbers "${VERSION}")
foreach(name strata stratamedia OstraFoundation OstraFoundationC)
  set(dll ${DLL_DIR}/${name}.dll)
  execute_process(COMMAND ${WINDRES} -i ${dll} -O rc
                  OUTPUT_VARIABLE rc ERROR_VARIABLE error RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "${dll}: windres cannot read its resources: ${error}")
  endif()
  foreach(expected "FILEVERSION ${numbers}, 0" "PRODUCTVERSION ${numbers}, 0"
                   "VALUE \"FileVersion\", \"${VERSION}\"" "VALUE \"ProductVersion\", \"${VERSION}\""
                   "VALUE \"ProductName\", \"OstraFoundation\"")
    string(FIND "${rc}" "${expected}" at)
    if(at EQUAL -1)
      message(FATAL_ERROR "${dll}: its version resource lacks '${expected}':\n${rc}")
    endif()
  endforeach()
endforeach()
file(STRINGS ${CONFIG_VERSION} line REGEX "^set\\(PACKAGE_VERSION ")
if(NOT line STREQUAL "set(PACKAGE_VERSION \"${VERSION}\")")
  message(FATAL_ERROR "${CONFIG_VERSION} gives '${line}', not ${VERSION}")
endif()
message(STATUS "${VERSION} in every DLL and in ${CONFIG_VERSION}")
