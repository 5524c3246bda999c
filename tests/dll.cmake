# Checks of the Win32 DLL pair, read from the files with objdump -p: the
# export table equals the export list, the DLL's name field, and what each
# DLL imports.
find_program(QVN_OBJDUMP NAMES ${CMAKE_OBJDUMP} i686-w64-mingw32-objdump REQUIRED)
add_test(NAME dll_exports
  COMMAND ${CMAKE_COMMAND} -DOBJDUMP=${QVN_OBJDUMP} -DDLL=$<TARGET_FILE:qvngenz3> -DKIND=qvngenz3
          -P ${CMAKE_CURRENT_SOURCE_DIR}/check_dll.cmake)
add_test(NAME dll_exports_core
  COMMAND ${CMAKE_COMMAND} -DOBJDUMP=${QVN_OBJDUMP} -DDLL=$<TARGET_FILE:qvncore> -DKIND=qvncore
          -P ${CMAKE_CURRENT_SOURCE_DIR}/check_dll.cmake)
