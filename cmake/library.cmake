# keluab_link_options(target): how a shared library of ours is linked, the product and plug-ins alike.
#  - Windows: the compiler's run-time is linked in, so that only the system's own libraries are imported; of it only what
#    is reached.
#  - Linux: every symbol resolved, relocations read-only, its calls of its own functions bound inside: a function of the
#    same name in the program, or in another copy of the library, does not take their place.
function(keluab_link_options target)
  set_target_properties(${target} PROPERTIES PREFIX "")
  if(WIN32)
    target_link_options(${target} PRIVATE -static -static-libgcc -static-libstdc++
      -Wl,--gc-sections -Wl,--nxcompat -Wl,--dynamicbase -Wl,--high-entropy-va)
  elseif(NOT KELUAB_SANITIZED)
    target_link_options(${target} PRIVATE -Wl,-z,defs)
  endif()
  if(NOT WIN32)
    target_link_options(${target} PRIVATE -Wl,-z,relro -Wl,-z,now -Wl,-Bsymbolic-functions)
  endif()
endfunction()

# keluab_for_size(sources...): these sources of keluab_core wait for the registry, a file or the user, so an optimised
# build makes them small. Everything else is made fast.
function(keluab_for_size)
  set_property(SOURCE ${ARGN} TARGET_DIRECTORY keluab_core APPEND PROPERTY COMPILE_OPTIONS $<$<CONFIG:Release>:-Os>)
endfunction()

# keluab_split_symbols(target): an optimised build moves the symbols into a file beside the library, KELUAB.dll.debug,
# which the library names and a debugger finds. KELUAB_SYMBOLS is that file; a debug build has none.
function(keluab_split_symbols target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Release")
    return()
  endif()
  set(symbols $<TARGET_FILE:${target}>.debug)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> ${symbols}
    COMMAND ${CMAKE_OBJCOPY} --strip-all --add-gnu-debuglink=${symbols} $<TARGET_FILE:${target}>
    VERBATIM)
  set(KELUAB_SYMBOLS ${symbols} PARENT_SCOPE)
endfunction()
