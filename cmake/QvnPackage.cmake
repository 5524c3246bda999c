# `cpack -G DEB` in a build directory: one Debian package holding exactly the
# install tree (libraries, headers, CMake and pkg-config files) under /usr.
set(CPACK_PACKAGE_NAME qvngen)
set(CPACK_PACKAGE_VENDOR "qvngen developers")
set(CPACK_PACKAGE_CONTACT "qvngen developers <qvngen@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "fixed-size DFT, Hartley, Walsh-Hadamard and DCT-IV transforms with generated kernels")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
# The C library and the C++ runtime the libraries link against, found by
# dpkg-shlibdeps; libqvncore.so.7 is in the package itself.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
