# What every room shares: warnings as errors in our own code, sanitizers when asked for.

option(VL_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)

# vl_room(target): our own code, held to our own rules.
function(vl_room target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Werror)
  if(VL_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=address,undefined -fno-sanitize-recover=undefined
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()
