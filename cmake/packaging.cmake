# The Debian package: "cpack" in a build folder makes it of what is installed. scripts/package.sh
# calls it.
if(NOT UNIX OR FENWRIGHT_FUZZ)
  return()
endif()

# What Debian wants of every package: a changelog in its form, and its copyright file. They are a
# component of their own, which "cmake --install" leaves out.
string(TIMESTAMP FENWRIGHT_DEBIAN_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(FENWRIGHT_CONTACT "The Fenwright authors <authors@fenwright.example>")
set(FENWRIGHT_DEBIAN_RELEASE 1)
configure_file(packaging/debian/changelog.in packaging/changelog.Debian @ONLY)
install(
  FILES packaging/debian/copyright ${CMAKE_BINARY_DIR}/packaging/changelog.Debian
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT debian EXCLUDE_FROM_ALL)
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};fenwright;ALL;/;${CMAKE_BINARY_DIR};fenwright;debian;/")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME fenwright)
set(CPACK_PACKAGE_VENDOR "The Fenwright authors")
set(CPACK_PACKAGE_CONTACT "${FENWRIGHT_CONTACT}")
set(CPACK_PACKAGE_HOMEPAGE_URL "${FENWRIGHT_SUPPORT_URL}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "programmer for AT90S and ATtiny microcontrollers")
set(CPACK_PACKAGE_DESCRIPTION
    "Programs AT90S and ATtiny microcontrollers through a programmer board on a
serial line, from Intel HEX files, and always verifies what it wrote. Reads
chips, their fuse and lock bits, and updates the board's own firmware.
.
The package has a desktop program with a Japanese user interface, its manual,
a command-line program, and a simulated board to try them without hardware.")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
    GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${FENWRIGHT_DEBIAN_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Qt's own texts in Japanese, Japanese fonts, a Wayland display, a reader for the manual.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "fonts-noto-cjk, qt6-translations-l10n, qt6-wayland, evince | pdf-viewer, xdg-utils")
# What makes Intel HEX of code files in other formats.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "binutils-avr | binutils")
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/arrange.cmake)
include(CPack)

# What has to be built for it; the tests are left out.
add_custom_target(package-files)
foreach(target fenwright fenwright-cli fenwright-board manual guide shell-files)
  if(TARGET ${target})
    add_dependencies(package-files ${target})
  endif()
endforeach()
