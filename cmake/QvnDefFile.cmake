include(${CMAKE_CURRENT_LIST_DIR}/QvnExportNames.cmake)

# qvn_write_def_file(<path> <qvngenz3|qvncore> <dll file name>)
#
# Writes the module-definition file of one DLL: every export with its stdcall
# decoration (name@bytes). The linker, run with --kill-at, exports the bare
# names; dlltool -k makes from the same file an import library whose symbols
# keep the decoration that callers' object files refer to. The file is
# rewritten only when its text changes, so a reconfigure relinks nothing.
function(qvn_write_def_file path library dll_name)
  qvn_export_names(names ${library})
  set(text "; Exports of ${dll_name}, written by cmake/QvnDefFile.cmake; do not edit.\n")
  string(APPEND text "LIBRARY \"${dll_name}\"\nEXPORTS\n")
  foreach(name IN LISTS names)
    qvn_stdcall_arg_bytes(bytes ${name})
    string(APPEND text "  ${name}@${bytes}\n")
  endforeach()
  file(CONFIGURE OUTPUT ${path} CONTENT "${text}" @ONLY)
endfunction()
