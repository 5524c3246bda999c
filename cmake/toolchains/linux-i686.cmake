# 32-bit x86 Linux with the host's multilib GCC. Everything built for the
# target (libraries, tests, GoogleTest) is i686 code with SSE2 arithmetic;
# the test programs run under qemu's user-mode emulator, so the suite passes
# or fails the same way on a host that cannot execute 32-bit programs.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_C_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_ASM_FLAGS_INIT "-m32")

find_program(QVN_QEMU_I386 NAMES qemu-i386-static qemu-i386 REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${QVN_QEMU_I386})
