# Warnings and sanitizers, the same for every target of the project.
function(tapeloop_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                           -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough
                                           -Wno-sign-conversion)
  if(TAPELOOP_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${TAPELOOP_SANITIZE}
                           -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=${TAPELOOP_SANITIZE})
  endif()
endfunction()
