# Runs workers on one profile at once. Takes FOLDER (with the library and the worker), LIBRARY, EMULATOR.
set(command ${EMULATOR} ${FOLDER}/worker${SUFFIX} ${LIBRARY})
set(ENV{XDG_CONFIG_HOME} ${FOLDER}/workers)
file(REMOVE_RECURSE ${FOLDER}/workers)
execute_process(COMMAND ${command} prepare WORKING_DIRECTORY ${FOLDER} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${command} work 0 COMMAND ${command} work 1 COMMAND ${command} work 2
  WORKING_DIRECTORY ${FOLDER} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${command} check 3 WORKING_DIRECTORY ${FOLDER} COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE_RECURSE ${FOLDER}/workers)
