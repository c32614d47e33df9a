# Settings shared by all modules: warnings as errors in our own code, sanitizers on request.

set(VL_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread; none by default")
option(VL_FUZZ "Build the fuzz targets, and every library so that they see what it covers; needs Clang" OFF)
if(VL_FUZZ AND NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  message(FATAL_ERROR "VL_FUZZ needs Clang")
endif()

# Not checked: the type of a function called through a pointer. Hosts, the tool and the tests declare the
# plug-in's exports in terms of their own base class.
set(VL_SANITIZERS -fsanitize=${VL_SANITIZE} -fno-sanitize-recover=undefined
  $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)

# What hardens a program at next to no cost, as distributions build theirs; scripts/test_packages.sh checks it. The
# cross compiler's own settings are what there is for Windows, and sanitizers find more.
set(VL_HARDENING)
if(NOT WIN32 AND NOT VL_SANITIZE)
  set(VL_HARDENING -fstack-protector-strong $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
endif()

# vl_module(target): our own code, compiled with our warnings and sanitizers.
function(vl_module target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Werror ${VL_HARDENING})
  if(VL_HARDENING)
    target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now)
  endif()
  # GCC 12 warns of overlaps in std::string that cannot be, depending on what it inlines; GCC 13 does not.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  # GCC 12's vectoriser, as enabled by -O3, miscompiles sums over single lanes. The hot loops are explicitly
  # vectorised, and -O3 without the vectoriser decodes AAC faster than -O2.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-tree-vectorize>)
  if(VL_SANITIZE)
    target_compile_options(${target} PRIVATE ${VL_SANITIZERS} -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE ${VL_SANITIZERS})
  endif()
  # The code under test says what it covers; the programs around it need not.
  get_target_property(type ${target} TYPE)
  if(VL_FUZZ AND NOT type STREQUAL "EXECUTABLE")
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()

# vl_signal(sources...): sources whose loops over a signal run the same way for any input. What they cover tells a fuzz
# target nothing, and saying it would cost most of the target's time.
function(vl_signal)
  if(VL_FUZZ)
    set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS -fno-sanitize=fuzzer-no-link)
  endif()
endfunction()

# vl_hot(target): code that also sanitizers and fuzz targets run for most of their time.
function(vl_hot target)
  if(VL_SANITIZE)
    target_compile_options(${target} PRIVATE -O2)
  endif()
endfunction()

# vl_unoptimized(target): code that is not speed-critical, compiled without optimisation, in a third of the
# time.
function(vl_unoptimized target)
  target_compile_options(${target} PRIVATE -O0 -U_FORTIFY_SOURCE)  # which takes optimisation
endfunction()

# vl_optimize_sources(sources...): the sources of such a target that process millions of values.
function(vl_optimize_sources)
  # A precompiled header serves one level of optimisation only.
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -O1 SKIP_PRECOMPILE_HEADERS ON)
endfunction()

option(VL_UNITY "Compile sources in batches where no symbols of a library depend on it: tests and the program" ON)

# vl_unity(target): compiles its sources in batches, at least two where there are enough of them, so that templates
# which all of them use are instantiated once a batch. Names in anonymous namespaces must differ within a target.
# Sources with options of their own stay by themselves.
function(vl_unity target)
  if(NOT VL_UNITY)
    return()
  endif()
  get_target_property(sources ${target} SOURCES)
  list(LENGTH sources count)
  math(EXPR batch "(${count} + 1) / 2")
  if(batch GREATER 8)
    set(batch 8)
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${batch})
endfunction()
