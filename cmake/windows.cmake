# Cross build for 64-bit Windows: mingw-w64 with POSIX threads, with a statically linked run time.
# scripts/windows_libraries.sh provides the libraries.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(DEFINED ENV{XDG_CACHE_HOME})
  set(VL_WINDOWS_LIBRARIES $ENV{XDG_CACHE_HOME}/fmp4-windows)
else()
  set(VL_WINDOWS_LIBRARIES $ENV{HOME}/.cache/fmp4-windows)
endif()
set(CMAKE_FIND_ROOT_PATH ${VL_WINDOWS_LIBRARIES} /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(ZLIB_USE_STATIC_LIBS ON)

# Windows 7 and later; mingw-w64's own printf, which supports all C99 conversions.
set(CMAKE_CXX_FLAGS_INIT "-D_WIN32_WINNT=0x0601 -DWIN32_LEAN_AND_MEAN -DNOMINMAX -D__USE_MINGW_ANSI_STDIO=1")
# The stack is aligned to 16 bytes here, but GCC assumes that 32-byte vectors on it are aligned.
string(APPEND CMAKE_CXX_FLAGS_INIT " -Wa,-muse-unaligned-vector-move")
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
endforeach()
