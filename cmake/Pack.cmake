# The Debian package: `cpack --preset package`. The archives are the installed component `portable`, packed by
# scripts/package, since CPack takes the files of an archive in the order in which the file system has them.
set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_CMAKE_PROJECTS
  ${PROJECT_BINARY_DIR} marrowvane machine /
  ${PROJECT_BINARY_DIR} marrowvane debian /)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES OFF)  # what is delivered is stripped when it is built

set(CPACK_PACKAGE_VENDOR "The Marrowvane developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "maker of self-booting Dreamcast disc images")
set(CPACK_PACKAGE_DESCRIPTION
"Marrowvane turns a folder that holds a Sega Dreamcast program into a
self-booting disc image, a DiscJuggler .cdi file. It takes the ELF file of
a cross compiler, or a binary in either form, brings it into the form that
the console loads, writes the boot sector and builds the image.
.
The package also holds a checker that tells what is on an image and what is
wrong with it, and a boot sector template for emulators and loaders.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The Marrowvane developers <developers@marrowvane.invalid>")
set(CPACK_DEBIAN_PACKAGE_SECTION otherosfs)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "binutils-sh-elf, genisoimage | xorriso")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS zenity)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
