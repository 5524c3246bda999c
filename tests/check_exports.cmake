# Compares the dynamic symbols a shared library defines with the exact list
# its naming rule gives; a missing export and a stray one (an internal helper
# or C++ name that escaped the hidden visibility) both fail.
#
#   cmake -DNM=<nm> -DLIBRARY=<file> -DKIND=<qvngenz3|qvncore> -P check_exports.cmake

cmake_minimum_required(VERSION 3.25)

foreach(var NM LIBRARY KIND)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "check_exports: ${var} not set")
  endif()
endforeach()

if(KIND STREQUAL "qvngenz3")
  set(expected qvngenGetLibVersion)
  foreach(n RANGE 2 64)
    foreach(dir Fwd Inv)
      foreach(prec 32fc 64fc)
        list(APPEND expected qvngDFT${dir}_CToC_${n}_${prec})
      endforeach()
    endforeach()
  endforeach()
  foreach(dir Fwd Inv)
    foreach(prec 32fc 64fc)
      list(APPEND expected qvngDFT${dir}_CToC_${prec})
    endforeach()
  endforeach()
  foreach(prec 32f 64f)
    set(real_stems qvngDFTFwd_RToCCS_ qvngDFTFwd_RToPack_ qvngDFTFwd_RToPerm_
                   qvngDFTInv_CCSToR_ qvngDFTInv_PackToR_ qvngDFTInv_PermToR_ qvngHartley_)
    foreach(stem IN LISTS real_stems)
      foreach(n RANGE 2 64)
        list(APPEND expected ${stem}${n}_${prec})
      endforeach()
      list(APPEND expected ${stem}${prec})
    endforeach()
    foreach(k RANGE 1 13)
      list(APPEND expected qvngWHT_${k}_${prec})
    endforeach()
    list(APPEND expected qvngWHT_${prec} qvngWHTGetBufferSize_${prec})
    foreach(op GetSize Init InitAlloc Free "")
      list(APPEND expected qvngDCT4${op}_${prec})
    endforeach()
  endforeach()
elseif(KIND STREQUAL "qvncore")
  set(expected qvnMalloc qvnFree)
else()
  message(FATAL_ERROR "check_exports: unknown KIND '${KIND}'")
endif()

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
