# Checks of the calling convention that only a 32-bit x86 build has.
enable_language(ASM)

# Every export called through a pointer from the loader, with the stack
# pointer and callee-saved registers checked around each call.
add_executable(test_abi test_abi.cpp stdcall_probe_i386.S)
target_include_directories(test_abi PRIVATE ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(test_abi PRIVATE GTest::gtest_main ${CMAKE_DL_LIBS})
add_dependencies(test_abi qvngenz3 qvncore)
if(WIN32)
  # Found beside the program by the loader's search.
  target_compile_definitions(test_abi PRIVATE QVN_TEST_LIBRARY="$<TARGET_FILE_NAME:qvngenz3>"
                                              QVN_TEST_CORE_LIBRARY="$<TARGET_FILE_NAME:qvncore>")
else()
  target_compile_definitions(test_abi PRIVATE QVN_TEST_LIBRARY="$<TARGET_FILE:qvngenz3>"
                                              QVN_TEST_CORE_LIBRARY="$<TARGET_FILE:qvncore>")
endif()
if(qvn_run_programs)
  add_test(NAME test_abi COMMAND test_abi)
endif()

# The static counterpart on ELF: every exported function returns with
# "ret $<bytes of its arguments>", the bytes taken from the export list.
if(NOT WIN32)
  include(${PROJECT_SOURCE_DIR}/cmake/QvnDefFile.cmake)
  qvn_write_def_file(${CMAKE_CURRENT_BINARY_DIR}/qvngenz3-stdcall.def qvngenz3 libqvngenz3.so)
  find_program(QVN_OBJDUMP NAMES ${CMAKE_OBJDUMP} objdump REQUIRED)
  add_test(NAME stdcall_returns
    COMMAND ${PROJECT_SOURCE_DIR}/tools/check-m32.sh $<TARGET_FILE:qvngenz3>
            ${CMAKE_CURRENT_BINARY_DIR}/qvngenz3-stdcall.def ${QVN_OBJDUMP})
endif()
