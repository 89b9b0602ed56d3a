# Debian's clang and lld for the same target as cmake/mingw-w64-x86_64.cmake,
# with the same C++ library (GCC's libstdc++, posix threads) and MinGW-w64
# runtime, so the third-party libraries built by GCC link unchanged.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${triple})
set(CMAKE_CXX_COMPILER_TARGET ${triple})
set(CMAKE_RC_COMPILER ${triple}-windres)
set(CMAKE_OBJCOPY ${triple}-objcopy)
set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Clang does not recognise Debian's GCC folder name ("12-posix") as a version,
# so GCC's C++ headers and libraries are named here.
file(GLOB gcc_dirs LIST_DIRECTORIES true "/usr/lib/gcc/${triple}/*-posix")
list(GET gcc_dirs -1 gcc_dir)
set(cxx_headers "${gcc_dir}/include/c++")
set(CMAKE_CXX_FLAGS_INIT
    "-nostdinc++ -isystem ${cxx_headers} -isystem ${cxx_headers}/${triple} -isystem ${cxx_headers}/backward")
# GCC's thread-local variables (libstdc++, libgcc) are emulated; the posix
# thread model's library is linked implicitly by GCC's driver, not by clang's.
string(APPEND CMAKE_C_FLAGS_INIT " -femulated-tls")
string(APPEND CMAKE_CXX_FLAGS_INIT " -femulated-tls")
foreach(kind EXE SHARED MODULE)
  # The C++ header flags above reach the link line too, where they mean nothing.
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld -L${gcc_dir} -Wno-unused-command-line-argument")
endforeach()
set(CMAKE_C_STANDARD_LIBRARIES "-lpthread" CACHE STRING "")
set(CMAKE_CXX_STANDARD_LIBRARIES "-lpthread" CACHE STRING "")
