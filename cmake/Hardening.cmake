# Release builds defend themselves against what a missed check lets through: code at addresses that
# change from run to run, tables of functions that can't be written once the program runs, checked
# stack frames, and calls of the C library that know the size of their buffers. The sanitizers of
# the other builds have checks of their own.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# Toolchains that set a level by themselves would warn of another one.
add_compile_options("$<$<CONFIG:Release>:-fstack-protector-strong;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
add_link_options("$<$<CONFIG:Release>:LINKER:-z,relro,-z,now,-z,noexecstack>")
