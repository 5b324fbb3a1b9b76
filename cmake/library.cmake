# keluab_link_options(target): how a shared library of ours is linked, the product and plug-ins alike.
#  - Windows: the compiler's run-time is linked in, so that only the system's own libraries are imported.
#  - Linux: every symbol resolved, relocations read-only.
function(keluab_link_options target)
  set_target_properties(${target} PROPERTIES PREFIX "")
  if(WIN32)
    target_link_options(${target} PRIVATE -static -static-libgcc -static-libstdc++
      -Wl,--nxcompat -Wl,--dynamicbase -Wl,--high-entropy-va)
  elseif(NOT KELUAB_SANITIZED)
    target_link_options(${target} PRIVATE -Wl,-z,defs)
  endif()
  if(NOT WIN32)
    target_link_options(${target} PRIVATE -Wl,-z,relro -Wl,-z,now)
  endif()
endfunction()
