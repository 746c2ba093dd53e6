# 32-bit Windows from Linux: Debian's MinGW compiler with POSIX threads, run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(triple i686-w64-mingw32)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# SSE arithmetic, or single-precision results would differ through the x87 stack; callers may hand us
# a stack that is aligned to 4 bytes only.
set(flags "-msse2 -mfpmath=sse -mstackrealign")
string(APPEND flags
    " -D__USE_MINGW_ANSI_STDIO=1 -DNOMINMAX -DWIN32_LEAN_AND_MEAN -D_WIN32_WINNT=0x0601")
set(CMAKE_C_FLAGS_INIT "${flags}")
set(CMAKE_CXX_FLAGS_INIT "${flags}")

# The shared runtime, or an exception that crosses from the DLL into a program ends the process.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-shared-libgcc -Wl,--large-address-aware")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-shared-libgcc")

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/in-wine-root wine)
