# Reads a Win32 DLL with objdump -p and checks
# - the export table: exactly the names of the export list, in byte-wise
#   sorted order, none decorated with @;
# - the DLL's own name field;
# - its imports: qvngenz3 takes qvnMalloc and qvnFree from qvncore, and
#   neither DLL needs anything beyond the system's DLLs (the C++ runtime is
#   linked in).
#
#   cmake -DOBJDUMP=<objdump> -DDLL=<file> -DKIND=<qvngenz3|qvncore> -P check_dll.cmake

cmake_minimum_required(VERSION 3.25)

foreach(var OBJDUMP DLL KIND)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "check_dll: ${var} not set")
  endif()
endforeach()

include(${CMAKE_CURRENT_LIST_DIR}/../cmake/QvnExportNames.cmake)
qvn_export_names(expected ${KIND})
set(expected_name "${KIND}-7.0.dll")
set(core_name "qvncore-7.0.dll")
set(system_dlls KERNEL32.DLL MSVCRT.DLL)

execute_process(COMMAND ${OBJDUMP} -p ${DLL}
  OUTPUT_VARIABLE dump ERROR_VARIABLE dump_err RESULT_VARIABLE dump_rc)
if(NOT dump_rc EQUAL 0)
  message(FATAL_ERROR "${OBJDUMP} -p ${DLL} failed (${dump_rc}): ${dump_err}")
endif()
string(REPLACE ";" "\\;" dump "${dump}")
string(REPLACE "\n" ";" lines "${dump}")

# objdump -p prints the import tables as "DLL Name: <dll>" followed by one
# "<vma> <hint> <name>" line per function; the export table's name field as
# "Name <rva> <dll>"; and the exported names, in table order, as "[<i>] <name>"
# lines after "[Ordinal/Name Pointer] Table".
set(section "")
set(dll_name "")
set(exports)
set(import_dlls)
foreach(line IN LISTS lines)
  if(line MATCHES "^[ \t]*DLL Name: (.+)$")
    set(section imports)
    set(current_dll "${CMAKE_MATCH_1}")
    list(APPEND import_dlls "${current_dll}")
    string(TOUPPER "${current_dll}" key)
    set(imports_of_${key})
  elseif(section STREQUAL "imports" AND line MATCHES "^\t[0-9a-f]+\t +[0-9]+ +([^ ]+)$")
    list(APPEND imports_of_${key} "${CMAKE_MATCH_1}")
  elseif(line MATCHES "^Name[ \t]+[0-9a-f]+ (.+)$")
    set(dll_name "${CMAKE_MATCH_1}")
  elseif(line MATCHES "^\\[Ordinal/Name Pointer\\] Table")
    set(section exports)
  elseif(section STREQUAL "exports" AND line MATCHES "^\t\\[ *[0-9]+\\] (.+)$")
    list(APPEND exports "${CMAKE_MATCH_1}")
  elseif(NOT line MATCHES "^\t")
    set(section "")
  endif()
endforeach()

set(failures)
if(NOT dll_name STREQUAL expected_name)
  list(APPEND failures "name field is '${dll_name}', expected '${expected_name}'")
endif()

list(LENGTH exports n_exports)
list(LENGTH expected n_expected)
if(NOT exports STREQUAL expected)
  set(sorted ${exports})
  list(SORT sorted COMPARE STRING)
  if(NOT sorted STREQUAL exports)
    list(APPEND failures "export names are not in byte-wise sorted order")
  endif()
  set(missing ${expected})
  list(REMOVE_ITEM missing ${exports})
  set(extra ${exports})
  list(REMOVE_ITEM extra ${expected})
  list(JOIN missing " " missing_text)
  list(JOIN extra " " extra_text)
  list(APPEND failures "${n_exports} exports, ${n_expected} expected; missing: ${missing_text}; extra: ${extra_text}")
endif()
foreach(name IN LISTS exports)
  if(name MATCHES "@")
    list(APPEND failures "decorated export name '${name}'")
  endif()
endforeach()

foreach(dll IN LISTS import_dlls)
  string(TOUPPER "${dll}" key)
  if(KIND STREQUAL "qvngenz3" AND dll STREQUAL core_name)
    set(core_imports ${imports_of_${key}})
    list(SORT core_imports)
    if(NOT core_imports STREQUAL "qvnFree;qvnMalloc")
      list(APPEND failures "imports '${imports_of_${key}}' from ${dll}, expected qvnMalloc and qvnFree")
    endif()
    set(found_core TRUE)
  elseif(NOT key IN_LIST system_dlls)
    list(APPEND failures "imports from ${dll}, which is not a system DLL")
  endif()
endforeach()
if(KIND STREQUAL "qvngenz3" AND NOT found_core)
  list(APPEND failures "imports nothing from ${core_name}")
endif()

if(failures)
  list(JOIN failures "\n  " text)
  message(FATAL_ERROR "${DLL}:\n  ${text}")
endif()
message(STATUS "${DLL}: '${dll_name}', exactly the ${n_expected} expected exports, imports from ${import_dlls}")
