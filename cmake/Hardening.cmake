# Protections of everything that is built, and a build that does not depend on where it is built.
include(CheckPIESupported)
check_pie_supported()

add_compile_options(-fstack-protector-strong -fstack-clash-protection -fcf-protection=full)
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
# The start-up files that some distributions ship do not say that they keep to a shadow stack, though they do.
add_link_options(LINKER:-z,shstk)

# Sanitizers and coverage replace or count the calls that fortifying would change.
if(NOT ORVLOG_INSTRUMENTED)
  set(optimized $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  add_compile_options($<${optimized}:-U_FORTIFY_SOURCE> $<${optimized}:-D_FORTIFY_SOURCE=3>)
  # Two clones give the same bytes: run paths of the build tree are relative, and debug information names sources
  # from the project's root (run the debugger there). In GCC the last prefix counts first.
  set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
  add_compile_options(
    $<${optimized}:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.> $<${optimized}:-ffile-prefix-map=${PROJECT_BINARY_DIR}=.>)
endif()
