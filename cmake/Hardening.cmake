# Hardens all targets defined after it: stack overflows and clashes, and overruns of buffers of
# known size, end the process, indirect branches are checked (on processors that support it), and
# relocation tables are read-only.
#
# Sanitizers have their own checks, which these would hide. Without optimization the compiler does
# not know buffer sizes.
if(LUMO_SANITIZER OR NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
  return()
endif()
set(lumo_optimized $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
add_compile_options(
  -fstack-protector-strong -fstack-clash-protection
  $<${lumo_optimized}:-U_FORTIFY_SOURCE> $<${lumo_optimized}:-D_FORTIFY_SOURCE=3>)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  add_compile_options(-fcf-protection)
endif()
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
