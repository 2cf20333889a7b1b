# Warning set shared by every target of the project.
function(pavo_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow=local
                         -Wnon-virtual-dtor -Wcast-qual -Wformat=2)
  if(PAVO_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
