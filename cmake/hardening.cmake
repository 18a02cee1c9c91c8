# What makes a fault harder to exploit. tests/hardening_check tests the outcome. Files for Windows get what their linker
# sets by itself: addresses chosen when they are loaded, and no code on stacks or heaps. WebAssembly's code lies outside
# its memory.

set(stack_protector "")
if(WIN32 OR WASM)
  return()
endif()

include(CheckPIESupported)
check_pie_supported()

# Calls through pointers land only where functions begin. On x86-64 that is one instruction more at the start of each.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  add_compile_options(-fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  add_compile_options(-mbranch-protection=standard)
endif()

# Copies into buffers of known size are checked, which takes optimization. The sanitizers check more by themselves.
if(NOT SARVANE_SANITIZE)
  add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()

# Addresses of functions are looked up when a file is loaded, and can't be changed after that.
add_link_options(LINKER:-z,relro LINKER:-z,now)

# A canary behind the arrays of a function, looked at before it returns. Targets ask for it: the operators don't, since
# every bar would pay for it.
set(stack_protector -fstack-protector-strong)
