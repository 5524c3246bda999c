# qvn_generated_family(<target> FAMILY <generator family> DIR <output dir>
#                      SOURCES <generated files...> [EXTRA <hand-written files...>])
#
# Runs qvngen-gen for one transform family and the tree's instruction set
# (QVNGEN_ISA) into DIR and compiles what it writes, one translation unit per length (or order) and precision, as an
# object library of kernel code. The generator rewrites a file only when its
# text changes, so a generator edit recompiles only the kernels it touched.
# Sets <target>_CENSUS in the caller's scope to the census file it writes.
function(qvn_generated_family target)
  cmake_parse_arguments(ARG "" "FAMILY;DIR" "SOURCES;EXTRA" ${ARGN})
  add_custom_command(
    OUTPUT ${ARG_DIR}/generated.stamp
    BYPRODUCTS ${ARG_SOURCES} ${ARG_DIR}/census.txt
    COMMAND qvngen-gen --isa ${QVNGEN_ISA} ${ARG_FAMILY} ${ARG_DIR}
    COMMAND ${CMAKE_COMMAND} -E touch ${ARG_DIR}/generated.stamp
    DEPENDS qvngen-gen
    COMMENT "Generating ${ARG_FAMILY} kernels")
  add_custom_target(${target}_sources DEPENDS ${ARG_DIR}/generated.stamp)
  # Orders the run after the generator's build also when qvngen-gen is the
  # imported host program of a cross build.
  add_dependencies(${target}_sources qvngen-gen)

  add_library(${target} OBJECT ${ARG_SOURCES} ${ARG_EXTRA})
  add_dependencies(${target} ${target}_sources)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
  target_compile_definitions(${target} PRIVATE QVN_BUILDING_LIBRARY)
  # Straight-line kernels: fixed optimisation level, no debug info (it only
  # slows the build of these large bodies down).
  target_compile_options(${target} PRIVATE ${QVNGEN_ISA_FLAGS} ${QVNGEN_KERNEL_OPT} -g0)
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  set(${target}_CENSUS ${ARG_DIR}/census.txt PARENT_SCOPE)
endfunction()
