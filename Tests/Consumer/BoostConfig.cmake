# A Boost package of a host's own for the find_package route of
# package-test.sh: the headers lie beside this file.
set(Boost_VERSION 1.74.0)
if(NOT TARGET Boost::headers)
  add_library(Boost::headers INTERFACE IMPORTED)
  set_target_properties(Boost::headers PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${CMAKE_CURRENT_LIST_DIR}")
endif()
