# GoogleTest from its packaged sources, so that both targets build the same version.
set(KELUAB_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "GoogleTest's sources")
set(CMAKE_POLICY_DEFAULT_CMP0069 NEW)  # linked as a whole where the preset asks for it, without a word
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
add_subdirectory(${KELUAB_GOOGLETEST_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
