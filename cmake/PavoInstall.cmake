include(CMakePackageConfigHelpers)

if(DEFINED PAVO_LIBRARY_RUNPATH)
  set_target_properties(PavoCore PavoUI PROPERTIES INSTALL_RPATH "${PAVO_LIBRARY_RUNPATH}")
endif()

install(TARGETS PavoCore PavoUI EXPORT PavoTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Pavo)

install(EXPORT PavoTargets NAMESPACE Pavo:: FILE PavoTargets.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Pavo)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/PavoConfig.cmake.in
  ${PROJECT_BINARY_DIR}/PavoConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Pavo)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/PavoConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/PavoConfig.cmake ${PROJECT_BINARY_DIR}/PavoConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Pavo)

# pkg-config files locate the prefix from their own folder, so an installed tree can move.
file(RELATIVE_PATH PAVO_PC_RELATIVE_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" PAVO_PC_RELATIVE_PREFIX "${PAVO_PC_RELATIVE_PREFIX}")
foreach(pc IN ITEMS pavo-core pavo-ui)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in ${PROJECT_BINARY_DIR}/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
