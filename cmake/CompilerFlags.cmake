# Language level and warnings, the same for every target of the project.
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

add_compile_definitions(_GNU_SOURCE)
include_directories(${PROJECT_SOURCE_DIR})

add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wformat=2
  -Wundef -Wvla $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)
if(ORVLOG_WERROR)
  add_compile_options(-Werror)
endif()

# What ships carries no exceptions and no run-time type information: nothing in it throws, and both cost start-up time.
# Nor does it keep tables for unwinding or code that is never called.
function(orvlog_product_options target)
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
  if(NOT ORVLOG_INSTRUMENTED)
    target_compile_options(
      ${target} PRIVATE -fno-asynchronous-unwind-tables -fno-unwind-tables -ffunction-sections -fdata-sections)
    get_target_property(type ${target} TYPE)
    if(type MATCHES "EXECUTABLE|SHARED_LIBRARY")
      # It loads the C library alone, and what it links on purpose.
      target_link_options(
        ${target} PRIVATE LINKER:--gc-sections LINKER:--as-needed LINKER:-z,defs -static-libstdc++ -static-libgcc)
    endif()
  endif()
endfunction()
