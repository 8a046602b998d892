# The programs that this machine can build, and the libraries that they need.
include(CheckCXXSourceCompiles)

# orvlog runs on the server itself. The other programs read a log anywhere.
check_cxx_source_compiles("
#if !defined(__x86_64__) || defined(__ILP32__)
#error not x86-64
#endif
int main() { return 0; }" ORVLOG_X86_64)
if(NOT ORVLOG_X86_64)
  message(STATUS "Not x86-64: orvlog is not built, since it runs on the server itself")
endif()

find_path(ORVLOG_RAPIDJSON_INCLUDE_DIR rapidjson/writer.h)
mark_as_advanced(ORVLOG_RAPIDJSON_INCLUDE_DIR)
if(NOT ORVLOG_RAPIDJSON_INCLUDE_DIR)
  message(STATUS "RapidJSON not found: imlog is not built (package rapidjson-dev)")
endif()
