# Runs the dialog host's test with a profile of two folders of address files: -DPROGRAMS=folder -DDATA=folder
# -DEMULATOR=command
string(RANDOM LENGTH 12 place)
set(home ${CMAKE_CURRENT_BINARY_DIR}/dialog-host-${place})
set(drive "")
if(EMULATOR)
  set(drive Z:)
endif()

function(keluab expected)
  execute_process(COMMAND ${EMULATOR} ${PROGRAMS}/keluab.exe --app-key dialog-host-test ${ARGN}
    RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE error)
  if(NOT result MATCHES "${expected}")
    file(REMOVE_RECURSE ${home})
    message(FATAL_ERROR "keluab ${ARGN}: ${result}\n${error}")
  endif()
endfunction()

keluab(. profile delete Test)  # what an interrupted run left behind
keluab(0 profile create Test)
foreach(folder_and_file Phones/mail.vcf Office/office.vcf)
  cmake_path(GET folder_and_file PARENT_PATH folder)
  cmake_path(GET folder_and_file FILENAME file)
  file(COPY ${DATA}/${file} DESTINATION ${home}/${folder})
  string(REPLACE "/" "\\" text "${drive}${home}/${folder}")
  keluab(0 service add VCard --text ${text} --profile Test)
endforeach()
execute_process(COMMAND ${EMULATOR} ${PROGRAMS}/dialog_host_test.exe RESULT_VARIABLE result)
keluab(0 profile delete Test)
file(REMOVE_RECURSE ${home})
if(NOT result EQUAL 0)
  message(FATAL_ERROR "failed: ${result}")
endif()
