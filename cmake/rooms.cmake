# What every room shares: warnings as errors in our own code, sanitizers when asked for.

option(VL_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)

# Not checked: the type of a function behind a pointer. Hosts declare the plug-in's exports in terms of their
# own base class, and so do the tool and the tests.
set(VL_SANITIZERS -fsanitize=address,undefined -fno-sanitize-recover=undefined
  $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)

# vl_room(target): our own code, held to our own rules.
function(vl_room target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Werror)
  if(VL_SANITIZE)
    target_compile_options(${target} PRIVATE ${VL_SANITIZERS} -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE ${VL_SANITIZERS})
  endif()
endfunction()
