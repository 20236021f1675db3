# Makes everything that is built from here on hard to exploit: a smashed or skipped stack and an
# overrun buffer of known size end the process, indirect branches land only where they may (on
# processors that see to that), and no table of addresses stays writable.
#
# Sanitizers bring checks of their own, which these would hide. Without optimization the compiler
# knows no buffer's size.
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
