# Install-time step: writes qvngen.pc and qvncore.pc for the prefix being
# installed to. QVN_PC_* are set by the install rule just before this runs.
foreach(dir LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${QVN_PC_${dir}}")
    set(QVN_PC_FULL_${dir} "${QVN_PC_${dir}}")
  else()
    set(QVN_PC_FULL_${dir} "${CMAKE_INSTALL_PREFIX}/${QVN_PC_${dir}}")
  endif()
endforeach()

foreach(name qvngen qvncore)
  set(pc_file "$ENV{DESTDIR}${QVN_PC_FULL_LIBDIR}/pkgconfig/${name}.pc")
  message(STATUS "Installing: ${pc_file}")
  configure_file("${QVN_PC_TEMPLATE_DIR}/${name}.pc.in" "${pc_file}" @ONLY)
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${pc_file}")
endforeach()
