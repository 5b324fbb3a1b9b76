# keluab_options: what every target of ours is compiled with. Each warning that is switched off has its reason beside it.
add_library(keluab_options INTERFACE)
set(place $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>)
target_compile_features(keluab_options INTERFACE cxx_std_20)
target_compile_options(keluab_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
  -Wno-non-virtual-dtor  # slots have no destructor: objects die in Release
  # What is handed out names no folder of the machine that built it; a debugger finds the sources of a debug build.
  ${place}
)
target_link_options(keluab_options INTERFACE ${place})  # linking as a whole compiles again
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(keluab_options INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-Wno-cast-function-type>)  # GetProcAddress hands out every function as one type
  if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(keluab_options INTERFACE
      $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)  # 12 takes "text" + string for a copy onto itself when it optimises
  endif()
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(keluab_options INTERFACE -Wthread-safety
    $<$<COMPILE_LANGUAGE:CXX>:-Wno-delete-non-abstract-non-virtual-dtor>)  # the same
endif()
if(WIN32)
  target_compile_definitions(keluab_options INTERFACE UNICODE _UNICODE)
else()
  # Unique symbols would keep the library in the process after dlclose.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(keluab_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
  endif()
endif()
