# Cross-compiles for 64-bit Windows with Debian's g++-mingw-w64-x86-64:
#   cmake -B build/windows -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw.cmake \
#     -DCMAKE_BUILD_TYPE=Release -DVELTRAMOX_TESTS=OFF -DVELTRAMOX_BENCH=OFF \
#     -DVELTRAMOX_TABLE_GENERATOR=build/release/endgame_tables
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# One file that runs without the compiler's run-time libraries beside it.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
