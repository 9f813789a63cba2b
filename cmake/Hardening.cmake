# What makes a fault in memory end the process instead of serving whoever caused it: the agent reads files, names and
# replies that others wrote. For everything that is built here, and read off the executable by tools/checks/hardening.

# CMake passes -pie to the linker only once this was asked, whatever CMAKE_POSITION_INDEPENDENT_CODE says.
include(CheckPIESupported)
check_pie_supported()

add_compile_options(-fstack-protector-strong -fstack-clash-protection)

# The library's checked calls need an optimiser that knows the sizes, and hide from the sanitizers what those look for.
# Distributions may have set another level.
add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")

# All symbols are bound at the start, so that their table can be read-only from then on. No stack runs as code.
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
