# The Debian package, built by `cpack -G DEB` from the install rules: every
# file of the install tree under /usr, the programs stripped, dependencies
# found from the libraries the programs link (dpkg-shlibdeps).
set(TOVALIN_MAINTAINER "Tovalin <dev@tovalin.org>")
set(TOVALIN_DEB_RELEASE 1)
set(TOVALIN_DEB_VERSION ${PROJECT_VERSION}-${TOVALIN_DEB_RELEASE})

# The Debian changelog of the package, compressed as Debian wants it
# (gzip -n: no name or time stamp, so the same tree gives the same file).
configure_file(${PROJECT_SOURCE_DIR}/resources/debian/changelog.in
  ${CMAKE_BINARY_DIR}/debian/changelog.Debian @ONLY)
add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/debian/changelog.Debian.gz
  COMMAND gzip -9 -n -f -k ${CMAKE_BINARY_DIR}/debian/changelog.Debian
  DEPENDS ${CMAKE_BINARY_DIR}/debian/changelog.Debian
  VERBATIM)
add_custom_target(debian_changelog ALL DEPENDS ${CMAKE_BINARY_DIR}/debian/changelog.Debian.gz)
install(FILES ${CMAKE_BINARY_DIR}/debian/changelog.Debian.gz
  ${PROJECT_SOURCE_DIR}/resources/debian/copyright
  DESTINATION ${TOVALIN_DOC_DIR})
install(FILES ${PROJECT_SOURCE_DIR}/resources/debian/lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME tovalin)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tovalin)
set(CPACK_PACKAGE_VENDOR Tovalin)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${TOVALIN_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${TOVALIN_DEB_RELEASE})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${TOVALIN_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://www.example.org/tovalin/)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The synopsis, then the long description in English and in French (a
# binary package has a single Description field; the French text follows
# the English one as its own paragraph).
# The synopsis, then the long description in English and in French (a
# binary package has a single Description field; the French text follows the
# English one as a paragraph of its own). CPack indents the lines and turns
# the empty line into the paragraph mark.
string(JOIN "\n" CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "editor and converter for survey point files"
  "Tovalin opens plain-text XYZ point files and the points of DXF drawings,"
  "shows them in a list, lets surveyors enter, modify, search and renumber"
  "points and choose how coordinates are shown, and saves them as XYZ text or"
  "as a DXF drawing for a CAD program, in 2D or 3D. The command-line converter"
  "tovalin-cli does the same without a window."
  ""
  "Éditeur et convertisseur de fichiers de points topographiques : Tovalin"
  "ouvre les fichiers de points XYZ et les points des dessins DXF, les montre"
  "en liste, permet de saisir, modifier, rechercher et renuméroter les points,"
  "de choisir l'affichage des coordonnées, et les enregistre en XYZ ou en DXF"
  "pour un logiciel de DAO, en 2D ou en 3D. Le convertisseur tovalin-cli fait"
  "de même sans fenêtre.")
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/PackageTree.cmake)
set(CPACK_TOVALIN_STRIP ${CMAKE_STRIP})
include(CPack)
