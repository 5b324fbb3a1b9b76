# Runs the host in C once more in another place: a folder with blanks and letters of several scripts, so deep that the
# provider's path has the 259 characters that a path may have, a provider whose name no single code page has, and a locale
# without any letters but ASCII's.
#
# Takes BUILT (the host's folder), FOLDER (made anew), DEFINITION (UTF-8 or UTF-16), LOCALE, SUFFIX of libraries, EMULATOR.
set(provider "Поставщик é 漢字${SUFFIX}")
set(provider_chars 14)  # without the suffix
set(folder "${FOLDER} é/Книга адресов/住所録 b")
set(narrow_folder "${FOLDER} e/xxxxx xxxxxxx/xxx b")  # as many characters, one byte each
string(LENGTH "${narrow_folder}/${SUFFIX}" length)
math(EXPR padding "259 - ${length} - ${provider_chars} - 1")
if(EMULATOR)
  math(EXPR padding "${padding} - 2")  # for "Z:"
endif()
if(padding LESS 1 OR padding GREATER 200)
  message(FATAL_ERROR "no room for ${padding} characters in this build folder")
endif()
string(REPEAT "я" ${padding} deep)
string(LENGTH "${deep}" bytes)
if(bytes GREATER 202)  # the name of a folder has at most 255 bytes: the 101st letter becomes a separator
  string(SUBSTRING "${deep}" 0 200 front)
  string(SUBSTRING "${deep}" 202 -1 back)
  set(deep "${front}/${back}")
endif()
file(REMOVE_RECURSE "${FOLDER} é")
set(folder "${folder}/${deep}")
file(MAKE_DIRECTORY "${folder}")

file(GLOB files ${BUILT}/KELUAB${SUFFIX} ${BUILT}/other_host ${BUILT}/other_host.exe)
file(COPY ${files} DESTINATION "${folder}")
file(GLOB built_provider ${BUILT}/*other_provider${SUFFIX})
file(COPY_FILE ${built_provider} "${folder}/${provider}")
file(WRITE "${folder}/utf8.ini" "[Services]
Other = Другой 編集者
[Other]
PR_DISPLAY_NAME = Другой 編集者
PR_SERVICE_DLL_NAME = ${provider}
PR_SERVICE_ENTRY_NAME = OtherServiceEntry
")
execute_process(COMMAND iconv -f UTF-8 -t UTF-16 utf8.ini OUTPUT_FILE "${folder}/KELUAB.ini" WORKING_DIRECTORY "${folder}"
  COMMAND_ERROR_IS_FATAL ANY)
if(DEFINITION STREQUAL "UTF-8")
  file(RENAME "${folder}/utf8.ini" "${folder}/KELUAB.ini")
endif()

set(library KELUAB${SUFFIX})
if(NOT EMULATOR)
  set(library "${folder}/${library}")
endif()
file(GLOB host "${folder}/other_host" "${folder}/other_host.exe")
execute_process(COMMAND ${CMAKE_COMMAND} -E env LC_ALL=${LOCALE} ${EMULATOR} "${host}" "${library}"
  WORKING_DIRECTORY "${folder}" COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE_RECURSE "${FOLDER} é")
