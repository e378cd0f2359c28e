# Cross build for 64-bit Windows with Debian's mingw-w64 (POSIX threads model, which the C++ library needs for
# std::thread and std::mutex). The libraries Debian does not package for Windows come from scripts/windows-deps:
#
#   PIXTOLA_WINDOWS_PREFIX=$(scripts/windows-deps) \
#   cmake -S . -B build-windows -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/mingw-w64-x86_64.cmake
#
# Test programs run through scripts/wine-run.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(PIXTOLA_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${PIXTOLA_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${PIXTOLA_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${PIXTOLA_MINGW_TRIPLET}-windres)

# The environment is read at the first configuration only: a later one without the variable keeps the same prefix.
set(PIXTOLA_WINDOWS_PREFIX "$ENV{PIXTOLA_WINDOWS_PREFIX}" CACHE PATH "Prefix of the Windows libraries")
# try_compile reads this file again in a project of its own, where cache and environment may be missing.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PIXTOLA_WINDOWS_PREFIX)

set(CMAKE_FIND_ROOT_PATH ${PIXTOLA_WINDOWS_PREFIX} /usr/${PIXTOLA_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Nothing but system DLLs is imported: the compiler's run-time libraries and zlib are linked in. The second line is
# needed because FindZLIB otherwise takes libz.dll.a, which -static does not undo.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static")
endforeach()
set(ZLIB_USE_STATIC_LIBS ON)

get_filename_component(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../../scripts/wine-run" ABSOLUTE)
