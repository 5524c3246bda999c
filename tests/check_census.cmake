# cmake -DGENERATED=<census.txt> -DSOURCE_DIR=<generator/> -DSTEM=<census_wht>
#       -DISAS=<isa,next lower isa,...> -P check_census.cmake
#
# Compares the census a build's generator wrote with the committed one. The
# committed file of an instruction set exists only where its kernels differ
# from those of the next lower one, so the first of
#   <STEM>.<isa>.txt for each entry of ISAS (highest first), <STEM>.txt
# that exists is the one this build's kernels must match.
foreach(var GENERATED SOURCE_DIR STEM)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "check_census.cmake: ${var} not set")
  endif()
endforeach()

string(REPLACE "," ";" isas "${ISAS}")
set(committed "")
foreach(isa IN LISTS isas)
  if(NOT committed AND EXISTS ${SOURCE_DIR}/${STEM}.${isa}.txt)
    set(committed ${SOURCE_DIR}/${STEM}.${isa}.txt)
  endif()
endforeach()
if(NOT committed)
  set(committed ${SOURCE_DIR}/${STEM}.txt)
endif()

execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${GENERATED} ${committed}
                RESULT_VARIABLE differ)
if(differ)
  message(FATAL_ERROR "${GENERATED} differs from ${committed}; review the change and run "
                      "tools/update-census.sh")
endif()
message(STATUS "${GENERATED} matches ${committed}")
