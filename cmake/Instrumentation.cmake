# Sanitizers, coverage and fuzzing. They apply to every target: a mix of objects with and without them gives false
# reports.
if(ORVLOG_SANITIZE)
  target_compile_options(
    orvlog_build INTERFACE -fsanitize=${ORVLOG_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(orvlog_build INTERFACE -fsanitize=${ORVLOG_SANITIZE})
endif()
if(ORVLOG_COVERAGE)
  target_compile_options(orvlog_build INTERFACE --coverage -O0)
  target_link_options(orvlog_build INTERFACE --coverage)
endif()
if(ORVLOG_FUZZ)
  if(NOT ORVLOG_SANITIZE)
    message(FATAL_ERROR "ORVLOG_FUZZ needs ORVLOG_SANITIZE: without sanitizers fuzzing finds only crashes")
  endif()
  target_compile_options(orvlog_build INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(ORVLOG_SANITIZE OR ORVLOG_COVERAGE)
  set(ORVLOG_INSTRUMENTED ON)
else()
  set(ORVLOG_INSTRUMENTED OFF)
  # The product has no unwind tables and no code that is never called. It loads only the C library and the libraries
  # that it needs.
  target_compile_options(
    orvlog_product INTERFACE -fno-asynchronous-unwind-tables -fno-unwind-tables -ffunction-sections -fdata-sections)
  target_link_options(
    orvlog_product INTERFACE LINKER:--gc-sections LINKER:--as-needed LINKER:-z,defs -static-libstdc++ -static-libgcc)
endif()
