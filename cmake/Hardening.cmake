# Hardening of everything that is built, and a build whose bytes do not depend on its directory.
include(CheckPIESupported)
check_pie_supported()

include(CheckCXXCompilerFlag)
function(orvlog_add_if_known option)
  string(MAKE_C_IDENTIFIER "ORVLOG_HAS${option}" has_option)
  check_cxx_compiler_flag(${option} ${has_option})
  if(${has_option})
    target_compile_options(orvlog_build INTERFACE ${option})
  endif()
endfunction()
orvlog_add_if_known(-fstack-protector-strong)
orvlog_add_if_known(-fstack-clash-protection)
# The first is for x86 and the second for arm64. Both mark where indirect calls may arrive. Clang takes the second
# everywhere, and then warns that it is unused.
orvlog_add_if_known(-fcf-protection=full)
if(NOT ORVLOG_HAS_fcf_protection_full)
  orvlog_add_if_known(-mbranch-protection=standard)
endif()
target_link_options(orvlog_build INTERFACE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
if(ORVLOG_HAS_fcf_protection_full)
  # Some distributions' start-up files support a shadow stack but are not marked for it; -z shstk sets the mark.
  target_link_options(orvlog_build INTERFACE LINKER:-z,shstk)
endif()

# Sanitizers and coverage replace or count the calls that fortifying would change.
if(NOT ORVLOG_INSTRUMENTED)
  set(optimized $<IN_LIST:$<CONFIG>,Release$<SEMICOLON>RelWithDebInfo$<SEMICOLON>MinSizeRel>)
  # Debug information names sources from the project's root: run the debugger there. GCC takes the last prefix that
  # matches.
  target_compile_options(
    orvlog_build
    INTERFACE $<${optimized}:-U_FORTIFY_SOURCE> $<${optimized}:-D_FORTIFY_SOURCE=3>
              $<${optimized}:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>
              $<${optimized}:-ffile-prefix-map=${PROJECT_BINARY_DIR}=.>)
  set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
endif()
