# `make package`: a Debian package that holds what `cmake --install` installs.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vorlin)
set(CPACK_PACKAGE_VENDOR "Nuvrik")
set(CPACK_PACKAGE_CONTACT "The Nuvrik team <team@nuvrik.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "draws liquid strokes into pictures and movies")
set(CPACK_PACKAGE_DESCRIPTION
    "A video effect that redraws on every frame the whole stroke that an\n\
animated point has laid down, as a relief of glossy liquid that mirrors the\n\
picture beneath it; the program that renders scenes with it; and the\n\
library of its host.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "ffmpeg, python3, python3-numpy, xdg-utils")
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 0)
include(CPack)

# What Debian wants to be told of every package.
file(STRINGS cmake/debian/changelog VORLIN_LATEST LIMIT_COUNT 1)
if(NOT VORLIN_LATEST MATCHES "^vorlin \\(${PROJECT_VERSION}\\)")
  message(FATAL_ERROR "cmake/debian/changelog does not begin with release ${PROJECT_VERSION}")
endif()
set(VORLIN_CHANGELOG ${PROJECT_BINARY_DIR}/changelog.gz)
add_custom_command(
  OUTPUT ${VORLIN_CHANGELOG}
  COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/cmake/debian/changelog > ${VORLIN_CHANGELOG}
  DEPENDS ${PROJECT_SOURCE_DIR}/cmake/debian/changelog)
add_custom_target(changelog ALL DEPENDS ${VORLIN_CHANGELOG})
install(FILES cmake/debian/copyright ${VORLIN_CHANGELOG} DESTINATION ${CMAKE_INSTALL_DOCDIR})
