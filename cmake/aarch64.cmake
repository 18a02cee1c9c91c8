# Cross-compiles for 64-bit ARM, with Debian's compiler g++-aarch64-linux-gnu. What is built runs in qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# Signing return addresses as real processors do takes qemu most of the time; any other way of signing does as well.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -cpu max,pauth-impdef=on -L /usr/aarch64-linux-gnu)
