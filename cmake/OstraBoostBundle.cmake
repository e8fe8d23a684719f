# Copies into OUTPUT/boost every Boost header that SOURCE (which includes the
# public headers) reaches, as the preprocessor lists them: the package's own
# copy of Boost, as small as the interface allows.
# cmake -DCXX=<compiler> -DFLAGS=<-I...|-D...> -DSOURCE=<file.cpp>
#       -DBOOST_INCLUDE=<folder holding boost/> -DOUTPUT=<folder> -P OstraBoostBundle.cmake
string(REPLACE "|" ";" flags "${FLAGS}")
# Without canonical paths the list keeps BOOST_INCLUDE's spelling even when
# its boost/ is a link.
execute_process(
  COMMAND ${CXX} -std=c++17 -M -fno-canonical-system-headers ${flags} ${SOURCE}
  OUTPUT_VARIABLE deps ERROR_VARIABLE errors RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "Listing the headers of ${SOURCE} failed:\n${errors}")
endif()
string(REPLACE "\\\n" " " deps "${deps}")
separate_arguments(deps UNIX_COMMAND "${deps}")

file(REAL_PATH "${BOOST_INCLUDE}" boost_include)
file(REMOVE_RECURSE "${OUTPUT}/boost")
set(count 0)
foreach(dep IN LISTS deps)
  if(NOT dep MATCHES "\\.h(pp)?$")
    continue()
  endif()
  file(REAL_PATH "${dep}" real)
  foreach(root "${BOOST_INCLUDE}" "${boost_include}")
    cmake_path(IS_PREFIX root "${dep}" NORMALIZE inside)
    if(inside)
      cmake_path(RELATIVE_PATH dep BASE_DIRECTORY "${root}" OUTPUT_VARIABLE relative)
      cmake_path(GET relative PARENT_PATH folder)
      file(COPY "${real}" DESTINATION "${OUTPUT}/${folder}")
      math(EXPR count "${count} + 1")
      break()
    endif()
  endforeach()
endforeach()
if(count EQUAL 0 OR NOT EXISTS "${OUTPUT}/boost/shared_ptr.hpp")
  message(FATAL_ERROR "No Boost header found under ${BOOST_INCLUDE} in the headers of ${SOURCE}")
endif()
