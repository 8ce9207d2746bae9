# A Debian package of everything that installs: the tools, the presets, and
# the headers and static libraries for programs built on the engine (and the
# Python module when it is built). `make package` at the top builds it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillmere)
set(CPACK_PACKAGE_VENDOR "Quillmere")
set(CPACK_PACKAGE_CONTACT "Quillmere developers <quillmere@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Photo filters: presets, camera styles, a command-line tool and an editor")
set(CPACK_PACKAGE_DESCRIPTION
  "Renders a photo through presets and camera styles at full size, fast and in little memory. Includes the quillmere command-line tool, the quillmere-editor desktop editor, the shipped presets, and the engine's headers and static libraries.")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
# Depends computed from the shared libraries the programs link.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "python3, python3-numpy")
set(CPACK_STRIP_FILES ON)
include(CPack)
