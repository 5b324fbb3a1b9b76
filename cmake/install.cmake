# What is installed and where, and the archives that cpack makes of it. Everything is relative to one folder, which may be
# moved.
#
# The library finds the service definition file and the providers beside itself, so the three share a folder:
#  - Linux: lib/keluab, which no loader searches by itself. Hosts find the library by their run path, and no name of ours
#    stands among the system's libraries.
#  - Windows: bin, since a program finds a library in its own folder.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KELUAB_LIBRARY_DIR ${CMAKE_INSTALL_LIBDIR}/keluab)
set(KELUAB_PC_LIBS "-L\${plugindir} -l:KELUAB.so -Wl,-rpath,\${plugindir}")
if(WIN32)
  set(KELUAB_LIBRARY_DIR ${CMAKE_INSTALL_BINDIR})
  set(KELUAB_PC_LIBS "-L\${libdir} -lKELUAB -luuid")
endif()
set(KELUAB_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KELUAB)
set(KELUAB_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS KELUAB keluab_headers EXPORT KELUABTargets
  RUNTIME DESTINATION ${KELUAB_LIBRARY_DIR}
  LIBRARY DESTINATION ${KELUAB_LIBRARY_DIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/keluab DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

install(EXPORT KELUABTargets NAMESPACE KELUAB:: DESTINATION ${KELUAB_PACKAGE_DIR})
configure_package_config_file(cmake/KELUABConfig.cmake.in ${PROJECT_BINARY_DIR}/installed/KELUABConfig.cmake
  INSTALL_DESTINATION ${KELUAB_PACKAGE_DIR} PATH_VARS KELUAB_LIBRARY_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/installed/KELUABConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/installed/KELUABConfig.cmake
  ${PROJECT_BINARY_DIR}/installed/KELUABConfigVersion.cmake
  DESTINATION ${KELUAB_PACKAGE_DIR})

file(RELATIVE_PATH KELUAB_PC_PREFIX /${KELUAB_PC_DIR} /)
configure_file(cmake/keluab.pc.in ${PROJECT_BINARY_DIR}/installed/keluab.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/installed/keluab.pc DESTINATION ${KELUAB_PC_DIR})

install(FILES docs/host-guide.md docs/provider-guide.md docs/design.md docs/performance.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY examples/guide DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)

if(KELUAB_EXAMPLES)
  install(FILES ${PROJECT_BINARY_DIR}/installed/KELUAB.ini DESTINATION ${KELUAB_LIBRARY_DIR})
  install(TARGETS vcard RUNTIME DESTINATION ${KELUAB_LIBRARY_DIR} LIBRARY DESTINATION ${KELUAB_LIBRARY_DIR})
  install(FILES examples/vcard/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME vcard.md)
  install(TARGETS keluab)
  if(WIN32)
    install(TARGETS dialog-host)
  else()
    file(RELATIVE_PATH run_path /${CMAKE_INSTALL_BINDIR} /${KELUAB_LIBRARY_DIR})
    set_target_properties(keluab PROPERTIES INSTALL_RPATH "$ORIGIN/${run_path}")
  endif()
endif()

# The symbols go beside the library, from an archive of their own.
if(KELUAB_SYMBOLS)
  install(FILES ${KELUAB_SYMBOLS} DESTINATION ${KELUAB_LIBRARY_DIR} COMPONENT symbols)
endif()

string(TOLOWER ${CMAKE_SYSTEM_NAME} system)
set(CPACK_PACKAGE_NAME KELUAB)
set(CPACK_PACKAGE_VENDOR KELUAB)
set(CPACK_PACKAGE_FILE_NAME KELUAB-${PROJECT_VERSION}-${system}-x86_64)
set(CPACK_GENERATOR TGZ)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
endif()
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
set(CPACK_ARCHIVE_UNSPECIFIED_FILE_NAME ${CPACK_PACKAGE_FILE_NAME})
set(CPACK_ARCHIVE_SYMBOLS_FILE_NAME ${CPACK_PACKAGE_FILE_NAME}-symbols)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
