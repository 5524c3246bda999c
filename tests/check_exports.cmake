# Compares the dynamic symbols a shared library defines with the exact list
# its naming rule (cmake/QvnExportNames.cmake) gives; a missing export and a
# stray one (an internal helper or C++ name that escaped the hidden
# visibility) both fail.
#
#   cmake -DNM=<nm> -DLIBRARY=<file> -DKIND=<qvngenz3|qvncore> -P check_exports.cmake

cmake_minimum_required(VERSION 3.25)

foreach(var NM LIBRARY KIND)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "check_exports: ${var} not set")
  endif()
endforeach()

include(${CMAKE_CURRENT_LIST_DIR}/../cmake/QvnExportNames.cmake)
qvn_export_names(expected ${KIND})

# Symbols the linker defines in every shared object.
set(linker_defined _init _fini _edata _end __bss_start)

execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY}
  OUTPUT_VARIABLE nm_out ERROR_VARIABLE nm_err RESULT_VARIABLE nm_rc)
if(NOT nm_rc EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${LIBRARY} (${nm_rc}): ${nm_err}")
endif()

set(actual)
string(REPLACE "\n" ";" lines "${nm_out}")
foreach(line IN LISTS lines)
  # "<address> <type> <name>[@version]"
  if(line MATCHES "^[0-9a-fA-F]* *[A-Za-z] ([^@ ]+)")
    if(NOT CMAKE_MATCH_1 IN_LIST linker_defined)
      list(APPEND actual "${CMAKE_MATCH_1}")
    endif()
  elseif(NOT line STREQUAL "")
    message(FATAL_ERROR "unexpected nm output line: '${line}'")
  endif()
endforeach()

set(missing ${expected})
list(REMOVE_ITEM missing ${actual})
set(extra ${actual})
list(REMOVE_ITEM extra ${expected})
list(LENGTH expected n_expected)
list(LENGTH actual n_actual)

if(missing OR extra)
  list(JOIN missing "\n  " missing_text)
  list(JOIN extra "\n  " extra_text)
  message(FATAL_ERROR "${LIBRARY}: ${n_actual} exported, ${n_expected} expected\n"
    "missing:\n  ${missing_text}\nextra:\n  ${extra_text}")
endif()
message(STATUS "${LIBRARY}: exactly the ${n_expected} expected exports")
