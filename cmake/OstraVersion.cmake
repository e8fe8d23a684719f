# One version for every library: the project's. ostra_add_version gives a
# library a generated public header of version macros and run-time queries,
# their implementation, and a VERSIONINFO resource in its DLL; RESOURCE_ONLY
# gives a DLL with no C++ interface of its own only the resource.
set(OSTRA_GENERATED_INCLUDE ${CMAKE_BINARY_DIR}/include)

# ostra_add_version(<target> HEADER <dir/Name.h> PREFIX <macro prefix>
#   NAMESPACE <ns> API <export macro> CONFIG_HEADER <header defining it>
#   DESCRIPTION <text shown as the DLL's file description>)
# ostra_add_version(<target> RESOURCE_ONLY DESCRIPTION <text>)
function(ostra_add_version target)
  cmake_parse_arguments(V "RESOURCE_ONLY" "HEADER;PREFIX;NAMESPACE;API;CONFIG_HEADER;DESCRIPTION" "" ${ARGN})
  set(VERSION ${OstraFoundation_VERSION})
  set(VERSION_MAJOR ${OstraFoundation_VERSION_MAJOR})
  set(VERSION_MINOR ${OstraFoundation_VERSION_MINOR})
  set(VERSION_PATCH ${OstraFoundation_VERSION_PATCH})
  set(FILE_NAME ${target}.dll)
  set(templates ${PROJECT_SOURCE_DIR}/cmake)
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/version)
  configure_file(${templates}/LibraryVersion.rc.in ${generated}/${target}Version.rc @ONLY)
  if(WIN32)
    target_sources(${target} PRIVATE ${generated}/${target}Version.rc)
  endif()
  if(V_RESOURCE_ONLY)
    return()
  endif()
  configure_file(${templates}/LibraryVersion.h.in ${OSTRA_GENERATED_INCLUDE}/${V_HEADER} @ONLY)
  configure_file(${templates}/LibraryVersion.cpp.in ${generated}/${target}Version.cpp @ONLY)
  target_sources(${target} PRIVATE ${generated}/${target}Version.cpp)
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${OSTRA_GENERATED_INCLUDE}>)
  get_filename_component(header_dir ${V_HEADER} DIRECTORY)
  install(FILES ${OSTRA_GENERATED_INCLUDE}/${V_HEADER}
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${header_dir})
endfunction()
