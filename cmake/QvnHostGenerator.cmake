# In a cross build the kernels are still written by a generator that runs on
# the build host: generator/ is configured and built as a project of its own
# with the host's default compiler, and appears here as the imported program
# qvngen-gen, so qvn_generated_family() needs no case of its own.
#
# QVNGEN_HOST_GENERATOR names a qvngen-gen the host already has (say, from
# build/release) and saves building a second one.
set(QVNGEN_HOST_GENERATOR "" CACHE FILEPATH "qvngen-gen built for the host; empty: build it here")
add_executable(qvngen-gen IMPORTED GLOBAL)
if(QVNGEN_HOST_GENERATOR)
  set_target_properties(qvngen-gen PROPERTIES IMPORTED_LOCATION ${QVNGEN_HOST_GENERATOR})
  return()
endif()

include(ExternalProject)

set(qvn_host_dir ${CMAKE_BINARY_DIR}/host-generator)
set(qvn_host_program ${qvn_host_dir}/qvngen-gen${CMAKE_HOST_EXECUTABLE_SUFFIX})
ExternalProject_Add(qvngen_host_build
  SOURCE_DIR ${PROJECT_SOURCE_DIR}/generator
  BINARY_DIR ${qvn_host_dir}
  CMAKE_ARGS -DCMAKE_BUILD_TYPE=Release
  BUILD_COMMAND ${CMAKE_COMMAND} --build <BINARY_DIR> --target qvngen-gen
  INSTALL_COMMAND ""
  # Always ask the host build whether a generator source changed; it relinks
  # (and so regenerates kernels) only when one did.
  BUILD_ALWAYS ON
  BUILD_BYPRODUCTS ${qvn_host_program})

set_target_properties(qvngen-gen PROPERTIES IMPORTED_LOCATION ${qvn_host_program})
add_dependencies(qvngen-gen qvngen_host_build)
