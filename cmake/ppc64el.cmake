# Cross-compiles for 64-bit POWER, little-endian, with Debian's compiler g++-powerpc64le-linux-gnu. What is built runs in
# qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc64le)
set(CMAKE_C_COMPILER powerpc64le-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER powerpc64le-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc64le -L /usr/powerpc64le-linux-gnu)
