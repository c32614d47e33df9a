# Settings shared by all modules: warnings as errors in our own code, sanitizers on request.

option(VL_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)
option(VL_FUZZ "Build the fuzz targets, and every module so that they see what it covers; needs Clang" OFF)
if(VL_FUZZ AND NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  message(FATAL_ERROR "VL_FUZZ needs Clang")
endif()

# Not checked: the type of a function called through a pointer. Hosts, the tool and the tests declare the
# plug-in's exports in terms of their own base class.
set(VL_SANITIZERS -fsanitize=address,undefined -fno-sanitize-recover=undefined
  $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)

# vl_module(target): our own code, compiled with our warnings and sanitizers.
function(vl_module target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Werror)
  # GCC 12's vectoriser, as enabled by -O3, miscompiles sums over single lanes. The hot loops are explicitly
  # vectorised, and -O3 without the vectoriser decodes AAC faster than -O2.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-tree-vectorize>)
  if(VL_SANITIZE)
    target_compile_options(${target} PRIVATE ${VL_SANITIZERS} -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE ${VL_SANITIZERS})
  endif()
  if(VL_FUZZ)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()

# vl_unoptimized(target): code that is not speed-critical, compiled without optimisation, in a third of the
# time.
function(vl_unoptimized target)
  target_compile_options(${target} PRIVATE -O0)
endfunction()

# vl_optimize_sources(sources...): the sources of such a target that process millions of values.
function(vl_optimize_sources)
  # A precompiled header serves one level of optimisation only.
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -O1 SKIP_PRECOMPILE_HEADERS ON)
endfunction()
