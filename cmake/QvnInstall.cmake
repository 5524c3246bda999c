# What `cmake --install` puts under the prefix, laid out by GNUInstallDirs:
#   include/             qvngen.h, qvncore.h
#   lib/                 libqvngenz3.so.7.0 and libqvncore.so.7.0 with their
#                        SONAME (.so.7) and development (.so) links
#   lib/cmake/qvngen/    package config: find_package(qvngen 7.0 CONFIG) gives
#                        qvngen::qvngen and qvngen::qvncore
#   lib/pkgconfig/       qvngen.pc and qvncore.pc
#   lib/glibc-hwcaps/<isa>/
#                        libqvngenz3.so.7.0 and its SONAME link, built for
#                        each entry of QVNGEN_VARIANTS; the loader prefers it
#                        on a processor that has <isa>. Everything else (the
#                        development link, the CMake and pkg-config files)
#                        names lib/ only: programs link the baseline library
#                        and the loader picks the build when they start.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

if(NOT QVNGEN_ISA STREQUAL "x86-64")
  # A variant tree installs its library alone; headers, libqvncore and the
  # package files come from the baseline tree.
  install(TARGETS qvngenz3
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/glibc-hwcaps/${QVNGEN_ISA} NAMELINK_SKIP)
  return()
endif()

set(QVN_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qvngen)

# Consumers see qvngen::qvngen (the transforms, carrying the include directory
# and qvngen::qvncore along) and qvngen::qvncore (the allocation pair alone).
set_target_properties(qvngenz3 PROPERTIES EXPORT_NAME qvngen)
install(TARGETS qvngenz3 qvncore EXPORT qvngenTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/qvngen.h include/qvncore.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(EXPORT qvngenTargets NAMESPACE qvngen:: DESTINATION ${QVN_CMAKE_PACKAGE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/install/qvngenConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/qvngenConfig.cmake
  INSTALL_DESTINATION ${QVN_CMAKE_PACKAGE_DIR})
# Any 7.x satisfies a request for 7.0; a 32-bit build does not satisfy a
# 64-bit consumer (the generated file compares pointer sizes).
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/qvngenConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qvngenConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/qvngenConfigVersion.cmake
  DESTINATION ${QVN_CMAKE_PACKAGE_DIR})

# The pkg-config files hold absolute paths, so they are written at install
# time, when the prefix is known: `cmake --install --prefix` and cpack's
# staging both choose it after configuration.
install(CODE "
  set(QVN_PC_VERSION [[${PROJECT_VERSION}]])
  set(QVN_PC_LIBDIR [[${CMAKE_INSTALL_LIBDIR}]])
  set(QVN_PC_INCLUDEDIR [[${CMAKE_INSTALL_INCLUDEDIR}]])
  set(QVN_PC_TEMPLATE_DIR [[${CMAKE_CURRENT_LIST_DIR}/install]])")
install(SCRIPT ${CMAKE_CURRENT_LIST_DIR}/install/write_pkgconfig.cmake)

# The variant libraries this tree built, each by its own sub-build's install
# rules (the ones above), run as part of this install and of cpack's.
foreach(isa IN LISTS QVNGEN_BUILT_VARIANTS)
  install(CODE "include([[${CMAKE_BINARY_DIR}/variants/${isa}/cmake_install.cmake]])")
endforeach()
