include(${CMAKE_CURRENT_LIST_DIR}/QvnDefFile.cmake)

find_program(QVN_DLLTOOL NAMES ${CMAKE_DLLTOOL} ${CMAKE_C_COMPILER_TARGET}-dlltool i686-w64-mingw32-dlltool
             REQUIRED)

# qvn_win32_dll(<qvngenz3|qvncore>)
#
# Makes the shared library target of that name the DLL "<name>-7.0.dll",
# exporting exactly the names of cmake/QvnExportNames.cmake, undecorated,
# with its import library lib<name>.dll.a beside it in lib/.
function(qvn_win32_dll target)
  set(dll_base ${target}-${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  set(def ${CMAKE_BINARY_DIR}/${target}.def)
  qvn_write_def_file(${def} ${target} ${dll_base}.dll)

  set_target_properties(${target} PROPERTIES
    PREFIX "" OUTPUT_NAME ${dll_base} SUFFIX .dll
    ARCHIVE_OUTPUT_NAME ${target} IMPORT_PREFIX lib IMPORT_SUFFIX .dll.a)
  # The .def file names the exports; --kill-at strips the @bytes of the
  # stdcall decoration from the exported names.
  target_sources(${target} PRIVATE ${def})
  target_link_options(${target} PRIVATE -Wl,--kill-at)
  # The linker's own import library would carry the stripped names, which
  # callers' objects (referring to _name@bytes) cannot link against; dlltool
  # -k keeps the decorated symbols and imports them by the bare name.
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${QVN_DLLTOOL} -k -d ${def} -l $<TARGET_LINKER_FILE:${target}>
    COMMENT "Import library of ${dll_base}.dll with dlltool -k")
endfunction()
