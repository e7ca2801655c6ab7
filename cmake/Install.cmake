# What `cmake --install` puts where: the program with its manual page, completions and looks, the effect with
# its manifest, and the host library with its headers, a CMake package (vorlin::hosting, vorlin_EFFECT) and a pkg-config file (vorlin-hosting).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VORLIN_MANIFEST ${PROJECT_BINARY_DIR}/effect/vorlin.manifest.json)
set(VORLIN_EFFECT_DIR ${CMAKE_INSTALL_LIBDIR}/vorlin)
set(VORLIN_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vorlin)

# All that is installed, without tests and fuzzers: what `make demo` builds.
add_custom_target(product)
add_dependencies(product vorlin vorlin_effect vorlin_hosting manifest changelog)
foreach(bridge vorlin_frei0r vorlin_python)
  if(TARGET ${bridge})
    add_dependencies(product ${bridge})
  endif()
endforeach()

install(TARGETS vorlin DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS vorlin_effect DESTINATION ${VORLIN_EFFECT_DIR})
install(FILES ${VORLIN_MANIFEST} DESTINATION ${VORLIN_EFFECT_DIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/presets DESTINATION ${CMAKE_INSTALL_DATADIR}/vorlin)
install(DIRECTORY ${PROJECT_BINARY_DIR}/app/sample DESTINATION ${CMAKE_INSTALL_DATADIR}/vorlin)

# Made by the program itself. Builds with sanitizers are not for installing.
if(NOT VORLIN_SANITIZE)
  set(VORLIN_PAGES ${PROJECT_BINARY_DIR}/pages)
  add_custom_command(
    OUTPUT ${VORLIN_PAGES}/vorlin.1.gz
    COMMAND ${CMAKE_COMMAND} -E make_directory ${VORLIN_PAGES}
    COMMAND vorlin man > ${VORLIN_PAGES}/vorlin.1
    COMMAND gzip -9nf ${VORLIN_PAGES}/vorlin.1
    COMMAND vorlin completion bash > ${VORLIN_PAGES}/vorlin
    COMMAND vorlin completion zsh > ${VORLIN_PAGES}/_vorlin
    COMMAND vorlin completion fish > ${VORLIN_PAGES}/vorlin.fish
    DEPENDS vorlin vorlin_effect)
  add_custom_target(pages ALL DEPENDS ${VORLIN_PAGES}/vorlin.1.gz)
  add_dependencies(product pages)
  install(FILES ${VORLIN_PAGES}/vorlin.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  set(data ${CMAKE_INSTALL_DATADIR})
  install(FILES ${VORLIN_PAGES}/vorlin DESTINATION ${data}/bash-completion/completions)
  install(FILES ${VORLIN_PAGES}/vorlin.fish DESTINATION ${data}/fish/vendor_completions.d)
  # The first is where zsh looks, the second where Debian's packages put theirs.
  install(FILES ${VORLIN_PAGES}/_vorlin DESTINATION ${data}/zsh/site-functions)
  install(FILES ${VORLIN_PAGES}/_vorlin DESTINATION ${data}/zsh/vendor-completions)
endif()

set_target_properties(vorlin_hosting PROPERTIES EXPORT_NAME hosting)
install(
  TARGETS vorlin_platform vorlin_hosting
  EXPORT vorlin
  DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vorlin)
install(
  DIRECTORY platform/ hosting/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vorlin
  FILES_MATCHING
  PATTERN "*.h")
install(
  EXPORT vorlin
  NAMESPACE vorlin::
  FILE vorlinTargets.cmake
  DESTINATION ${VORLIN_PACKAGE_DIR})
configure_package_config_file(
  cmake/vorlinConfig.cmake.in ${PROJECT_BINARY_DIR}/vorlinConfig.cmake
  INSTALL_DESTINATION ${VORLIN_PACKAGE_DIR}
  PATH_VARS VORLIN_EFFECT_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vorlinConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vorlinConfig.cmake
              ${PROJECT_BINARY_DIR}/vorlinConfigVersion.cmake DESTINATION ${VORLIN_PACKAGE_DIR})
# The libraries' folder may be two levels deep (lib/x86_64-linux-gnu).
file(RELATIVE_PATH VORLIN_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/vorlin-hosting.pc.in ${PROJECT_BINARY_DIR}/vorlin-hosting.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vorlin-hosting.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
