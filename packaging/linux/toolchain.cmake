# Compiles for Linux systems with glibc 2.31 or newer, for the processor LINUX_PROCESSOR. The compiler is that of the build
# machine, which is newer: the C library comes from LINUX_ROOT (made by debian_root), and the C++ library is linked
# statically, since old systems have an old one.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES LINUX_PROCESSOR LINUX_ROOT)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${LINUX_PROCESSOR})
set(triplet ${LINUX_PROCESSOR}-linux-gnu)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_SYSROOT ${LINUX_ROOT})
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
if(LINUX_PROCESSOR STREQUAL CMAKE_HOST_SYSTEM_PROCESSOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR env)
else()
  set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${LINUX_PROCESSOR} -L ${LINUX_ROOT})
endif()

# Headers of the compiler and its C++ library, and after them those of the old system.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -E -v -x c++ /dev/null OUTPUT_QUIET ERROR_VARIABLE search)
string(REGEX MATCHALL "\n /[^\n]+/c\\+\\+/[0-9.]+[^\n]*|\n /[^\n]+/gcc[^/\n]*/[^/\n]+/[0-9.]+/include\n" own_headers "${search}")
set(headers "")
foreach(folder IN LISTS own_headers)
  string(STRIP "${folder}" folder)
  string(APPEND headers " -isystem ${folder}")
endforeach()
string(APPEND headers " -isystem ${LINUX_ROOT}/usr/include/${triplet} -isystem ${LINUX_ROOT}/usr/include")
# The same bytes in whatever folder it is built.
set(CMAKE_C_FLAGS_INIT "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=")
set(CMAKE_CXX_FLAGS_INIT "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/= -nostdinc -nostdinc++${headers}")

# The start of programs comes from the old system as well: it differs.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT
      "-static-libstdc++ -B${LINUX_ROOT}/usr/lib/${triplet} -L${LINUX_ROOT}/usr/lib/${triplet} -L${LINUX_ROOT}/lib/${triplet}")
endforeach()
# These became part of the C library later. Without libpthread, functions such as std::call_once would fail: the C++
# library refers to it only weakly.
set(CMAKE_CXX_STANDARD_LIBRARIES "-Wl,--push-state,--no-as-needed -lpthread -Wl,--as-needed -ldl -Wl,--pop-state")
