# Cross build for 64-bit Arm with Debian's compiler, against the sysroot that scripts/aarch64-sysroot makes:
#
#   PIXTOLA_AARCH64_SYSROOT=$(scripts/aarch64-sysroot) cmake --preset aarch64
#
# Test programs run in QEMU's user mode.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

# The environment is read at the first configuration only: a later one without the variable keeps the same sysroot.
set(PIXTOLA_AARCH64_SYSROOT "$ENV{PIXTOLA_AARCH64_SYSROOT}" CACHE PATH "Root of the AArch64 libraries")
# try_compile reads this file again in a project of its own, where cache and environment may be missing.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PIXTOLA_AARCH64_SYSROOT)

set(CMAKE_SYSROOT ${PIXTOLA_AARCH64_SYSROOT})
set(CMAKE_FIND_ROOT_PATH ${PIXTOLA_AARCH64_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${PIXTOLA_AARCH64_SYSROOT})
