# Compiles to WebAssembly with Debian's clang-19. One thread, no exceptions: a `throw` ends the module with a trap.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
# Boost's hashes of this version count on a class that C++20 has no more.
set(CMAKE_CXX_FLAGS_INIT "-fignore-exceptions -DBOOST_NO_CXX98_FUNCTION_BASE")
# The linker reads archives without the index that this archiver can't make.
set(CMAKE_AR /usr/bin/ar)
set(CMAKE_RANLIB /usr/bin/ranlib)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=/usr/bin/wasm-ld-19")
set(WASM ON)
