# Runs the guide's hosts over the guide's provider: -DPROGRAMS=folder -DLIBRARY=file -DEMULATOR=command -DDIALOG=bool
# -DSUFFIX=a library's
string(RANDOM LENGTH 12 place)
set(home ${CMAKE_CURRENT_BINARY_DIR}/guide-${place})
file(MAKE_DIRECTORY ${home})
set(ENV{XDG_CONFIG_HOME} ${home})

set(extension "")
if(SUFFIX STREQUAL ".dll")
  set(extension .exe)
endif()

function(fail message)
  file(REMOVE_RECURSE ${home})
  message(FATAL_ERROR "${message}")
endfunction()

# run(expected result, expected output, input, program, arguments...)
function(run result output input program)
  file(WRITE ${home}/input "${input}")
  execute_process(COMMAND ${EMULATOR} ${PROGRAMS}/${program}${extension} ${ARGN} INPUT_FILE ${home}/input
    RESULT_VARIABLE run_result OUTPUT_VARIABLE run_output ERROR_VARIABLE run_error)
  string(REPLACE "\r" "" run_output "${run_output}")
  if(NOT run_result STREQUAL result OR NOT run_output STREQUAL output)
    fail("${program} ${ARGN}: ${run_result}, not ${result}\n${run_output}\nnot\n${output}\n${run_error}")
  endif()
endfunction()

# What an interrupted run left behind.
execute_process(COMMAND ${EMULATOR} ${PROGRAMS}/host_profiles${extension} remove OUTPUT_QUIET ERROR_QUIET)

run(0 "0 profiles\nloaded, used and unloaded\n" "" host_load ${LIBRARY})
run(1 "" "" host_profiles add NoSuchService)
run(0 "removed\n" "" host_profiles remove)
run(0 "service Minimal in minimal_provider${SUFFIX}\n" "" host_profiles add Minimal)
run(0 "People
user: Ada Example
user: Bo Example
list: Everybody
to Ada Example via FAX at +1 555 0100
to Bo Example via FAX at +1 555 0101
" "" host_session)
if(DIALOG)
  run(0 "cancelled\n" "press remove\ncancel\n" host_dialog)
  run(0 "1 profiles\nloaded, used and unloaded\n" "" host_load ${LIBRARY})
  run(0 "changed\n" "select 1\npress remove\nok\n" host_dialog)
  run(0 "" "" host_session)
endif()
run(0 "removed\n" "" host_profiles remove)
run(1 "" "" host_session)
file(REMOVE_RECURSE ${home})
