# The wider-vector builds of the library that a baseline (x86-64) host build
# makes besides its own: one per entry of QVNGEN_VARIANTS, each the whole
# source tree configured again with QVNGEN_ISA=<entry> in
# <build>/variants/<entry>/, with the libraries alone (no tests, benchmark,
# examples or reference) and the generator this tree has built.
#
# A sub-build rather than a second set of object libraries per family in
# this tree: every family's CMakeLists stays written for one instruction set,
# and the sub-build is exactly what a QVNGEN_ISA=<entry> tree (the v3 preset)
# builds, so there is one way to make a variant. It compiles nothing a
# per-family split would not: the kernels once per instruction set.
#
# Its library ends up in <build>/variants/<isa>/lib/glibc-hwcaps/<isa>/, the
# place it has in an install tree, and `cmake --install` of this tree puts it
# in <prefix>/lib/glibc-hwcaps/<isa>/. For each entry this sets, in the
# including scope:
#   QVNGEN_VARIANT_<isa>_LIBDIR  directory holding its libqvngenz3.so.7
#   QVNGEN_VARIANT_<isa>_CODE    processor-target code of its version record
#   QVNGEN_VARIANT_<isa>_TARGET  the custom target that builds it
set(QVNGEN_VARIANTS "x86-64-v3;x86-64-v4" CACHE STRING
  "Wider-vector libraries a baseline host build also makes (x86-64-v3, x86-64-v4; empty for none)")
# Sub-builds run their own build tool; empty lets it choose its job count
# (CMAKE_BUILD_PARALLEL_LEVEL in the environment, else the tool's default).
set(QVNGEN_VARIANT_JOBS "" CACHE STRING "Parallel jobs of each variant sub-build; empty: the build tool's default")

if(NOT QVNGEN_ISA STREQUAL "x86-64" OR CMAKE_CROSSCOMPILING OR NOT CMAKE_SIZEOF_VOID_P EQUAL 8
   OR NOT QVNGEN_VARIANTS)
  set(QVNGEN_BUILT_VARIANTS "")
  return()
endif()

include(ExternalProject)
set(QVNGEN_BUILT_VARIANTS "")
foreach(isa IN LISTS QVNGEN_VARIANTS)
  set(code "")
  foreach(pair IN LISTS QVNGEN_TARGET_CPU_CODES)
    if(pair MATCHES "^${isa}=(.*)$")
      set(code ${CMAKE_MATCH_1})
    endif()
  endforeach()
  if(NOT code OR isa STREQUAL "x86-64")
    message(FATAL_ERROR "QVNGEN_VARIANTS: '${isa}' is not one of x86-64-v3, x86-64-v4")
  endif()

  set(dir ${CMAKE_BINARY_DIR}/variants/${isa})
  set(libdir ${dir}/lib/glibc-hwcaps/${isa})
  set(jobs)
  if(QVNGEN_VARIANT_JOBS)
    set(jobs -j ${QVNGEN_VARIANT_JOBS})
  endif()
  ExternalProject_Add(qvngen_variant_${isa}
    SOURCE_DIR ${PROJECT_SOURCE_DIR}
    BINARY_DIR ${dir}
    CMAKE_GENERATOR ${CMAKE_GENERATOR}
    CMAKE_ARGS
      -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}
      -DCMAKE_C_COMPILER=${CMAKE_C_COMPILER}
      -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
      -DCMAKE_C_FLAGS=${CMAKE_C_FLAGS}
      -DCMAKE_CXX_FLAGS=${CMAKE_CXX_FLAGS}
      -DCMAKE_SHARED_LINKER_FLAGS=${CMAKE_SHARED_LINKER_FLAGS}
      -DQVNGEN_KERNEL_OPT=${QVNGEN_KERNEL_OPT}
      -DQVNGEN_ISA=${isa}
      -DQVNGEN_HOST_GENERATOR=$<TARGET_FILE:qvngen-gen>
      -DQVNGEN_BUILD_TESTS=OFF -DQVNGEN_BUILD_BENCH=OFF
      -DQVNGEN_BUILD_EXAMPLES=OFF -DQVNGEN_BUILD_DOCS=OFF
    BUILD_COMMAND ${CMAKE_COMMAND} --build <BINARY_DIR> ${jobs}
    INSTALL_COMMAND ""
    # The sub-build decides itself what a source or generator change
    # touches; asking it every time costs a no-op build.
    BUILD_ALWAYS ON
    DEPENDS qvngen-gen
    BUILD_BYPRODUCTS ${libdir}/libqvngenz3.so.7.0)

  list(APPEND QVNGEN_BUILT_VARIANTS ${isa})
  set(QVNGEN_VARIANT_${isa}_LIBDIR ${libdir})
  set(QVNGEN_VARIANT_${isa}_CODE ${code})
  set(QVNGEN_VARIANT_${isa}_TARGET qvngen_variant_${isa})
endforeach()
