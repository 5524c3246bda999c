# The names each library exports, from the naming rule of the entry points,
# and the bytes of arguments each one removes from the stack on 32-bit x86.
# Everything that needs the export list (the export tests, the Windows .def
# files, the 32-bit calling-convention check) takes it from here.

# qvn_export_names(<out_var> <qvngenz3|qvncore>)
#
# Sets <out_var> to every name the library exports, in byte-wise (ASCII)
# sorted order: the order of a PE export table.
function(qvn_export_names out_var library)
  set(names)
  if(library STREQUAL "qvngenz3")
    list(APPEND names qvngenGetLibVersion)
    foreach(dir Fwd Inv)
      foreach(prec 32fc 64fc)
        foreach(n RANGE 2 64)
          list(APPEND names qvngDFT${dir}_CToC_${n}_${prec})
        endforeach()
        list(APPEND names qvngDFT${dir}_CToC_${prec})
      endforeach()
    endforeach()
    set(real_stems qvngDFTFwd_RToCCS_ qvngDFTFwd_RToPack_ qvngDFTFwd_RToPerm_
                   qvngDFTInv_CCSToR_ qvngDFTInv_PackToR_ qvngDFTInv_PermToR_ qvngHartley_)
    foreach(prec 32f 64f)
      foreach(stem IN LISTS real_stems)
        foreach(n RANGE 2 64)
          list(APPEND names ${stem}${n}_${prec})
        endforeach()
        list(APPEND names ${stem}${prec})
      endforeach()
      foreach(k RANGE 1 13)
        list(APPEND names qvngWHT_${k}_${prec})
      endforeach()
      list(APPEND names qvngWHT_${prec} qvngWHTGetBufferSize_${prec})
      foreach(op GetSize Init InitAlloc Free "")
        list(APPEND names qvngDCT4${op}_${prec})
      endforeach()
    endforeach()
  elseif(library STREQUAL "qvncore")
    set(names qvnMalloc qvnFree)
  else()
    message(FATAL_ERROR "qvn_export_names: unknown library '${library}'")
  endif()
  list(SORT names COMPARE STRING)
  set(${out_var} ${names} PARENT_SCOPE)
endfunction()

# qvn_stdcall_arg_bytes(<out_var> <export name>)
#
# Sets <out_var> to the bytes of arguments the export takes, all of them
# 32-bit words: what a stdcall function pops on return and the number in its
# decorated name (_name@bytes).
function(qvn_stdcall_arg_bytes out_var name)
  if(name STREQUAL "qvngenGetLibVersion")
    set(words 0)                                  # no arguments
  elseif(name MATCHES "^qvn(Malloc|Free)$")
    set(words 1)                                  # byte count / block
  elseif(name MATCHES "^qvngWHTGetBufferSize_")
    set(words 2)                                  # order, size
  elseif(name MATCHES "^qvngWHT_[0-9]+_")
    set(words 4)                                  # src, dst, flag, buffer
  elseif(name MATCHES "^qvngWHT_")
    set(words 5)                                  # src, dst, order, flag, buffer
  elseif(name MATCHES "^qvngDCT4(GetSize|InitAlloc)_")
    set(words 2)                                  # length, size / spec, length
  elseif(name MATCHES "^qvngDCT4Init_")
    set(words 3)                                  # spec, length, block
  elseif(name MATCHES "^qvngDCT4Free_")
    set(words 1)                                  # spec
  elseif(name MATCHES "^qvngDCT4_")
    set(words 3)                                  # src, dst, spec
  elseif(name MATCHES "^qvng(DFT|Hartley).*_[0-9]+_[0-9]+fc?$")
    set(words 3)                                  # src, dst, flag
  elseif(name MATCHES "^qvng(DFT|Hartley)")
    set(words 4)                                  # src, dst, length, flag
  else()
    message(FATAL_ERROR "qvn_stdcall_arg_bytes: no argument list known for '${name}'")
  endif()
  math(EXPR bytes "4 * ${words}")
  set(${out_var} ${bytes} PARENT_SCOPE)
endfunction()
