# Compiler options. Every target links one of two interface targets:
#   orvlog::build    include directory and warnings; Instrumentation and Hardening add to it
#   orvlog::product  the same, and the options for the code that ships
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(orvlog_build INTERFACE)
add_library(orvlog::build ALIAS orvlog_build)
target_include_directories(orvlog_build INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_definitions(orvlog_build INTERFACE _GNU_SOURCE)
target_compile_options(
  orvlog_build
  INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wformat=2 -Wundef -Wvla
            $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
            $<$<BOOL:${ORVLOG_WERROR}>:-Werror>)

add_library(orvlog_product INTERFACE)
add_library(orvlog::product ALIAS orvlog_product)
# The code that ships uses neither exceptions nor run-time type information. Both cost start-up time.
target_link_libraries(orvlog_product INTERFACE orvlog_build)
target_compile_options(orvlog_product INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
