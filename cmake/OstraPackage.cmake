# Install rules: DLLs and the MinGW runtime in bin/, import libraries in
# lib/, headers in include/{Ostra,strata,stratamedia}, and a CMake package
# so that hosts do find_package(OstraFoundation CONFIG) and link
# Ostra::OstraFoundation.
include(CMakePackageConfigHelpers)

install(TARGETS strata stratamedia OstraFoundation ostra_boost
  EXPORT OstraFoundationTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Inc/Ostra DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/strata/Inc/strata DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/stratamedia/Inc/stratamedia DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# Boost is header-only and large: the package links to the headers the
# build used rather than copying them.
install(CODE "
  set(boost_dir \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${OSTRA_BOOST_INSTALL_INCLUDE}\")
  file(MAKE_DIRECTORY \"\${boost_dir}\")
  file(CREATE_LINK \"${OSTRA_BOOST_ROOT}\" \"\${boost_dir}/boost\" SYMBOLIC)
")
if(OSTRA_MINGW_RUNTIME_DLLS)
  install(FILES ${OSTRA_MINGW_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(OSTRA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/OstraFoundation)
install(EXPORT OstraFoundationTargets NAMESPACE Ostra:: DESTINATION ${OSTRA_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/OstraFoundationConfig.cmake.in
  ${CMAKE_BINARY_DIR}/OstraFoundationConfig.cmake INSTALL_DESTINATION ${OSTRA_CMAKE_DIR}
  PATH_VARS CMAKE_INSTALL_BINDIR OSTRA_BOOST_INSTALL_INCLUDE)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/OstraFoundationConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/OstraFoundationConfig.cmake
              ${CMAKE_BINARY_DIR}/OstraFoundationConfigVersion.cmake
        DESTINATION ${OSTRA_CMAKE_DIR})
