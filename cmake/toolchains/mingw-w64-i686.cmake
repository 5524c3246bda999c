# Win32 DLLs with mingw-w64 (i686, posix threads variant). mingw's GCC
# computes in x87 unless told otherwise; SSE2 arithmetic gives the kernels
# the same results, bit for bit, as the Linux builds.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(qvn_prefix i686-w64-mingw32)
set(CMAKE_C_COMPILER ${qvn_prefix}-gcc-posix)
set(CMAKE_CXX_COMPILER ${qvn_prefix}-g++-posix)
set(CMAKE_RC_COMPILER ${qvn_prefix}-windres)
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")

set(CMAKE_FIND_ROOT_PATH /usr/${qvn_prefix})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The test programs run only under wine, which CI does without; configure with
# -DQVNGEN_WINE=ON to register them as tests.
if(QVNGEN_WINE)
  find_program(QVN_WINE NAMES wine REQUIRED)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${QVN_WINE})
endif()
