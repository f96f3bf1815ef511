# What "cmake --install" puts where, and the Debian package of it (scripts/package deb).
set(CMAKE_INSTALL_DOCDIR share/doc/hivequarry-cli CACHE PATH "Where the documentation goes")
include(GNUInstallDirs)
install(TARGETS hivequarry-cli RUNTIME)
install(FILES README.md LICENSE CHANGELOG.md docs/manual.md docs/format.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES cmake/hivequarry-cli.bash RENAME hivequarry-cli
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
# Not there where nobody has the converter: a program without its page is installed all the same.
find_program(CMARK cmark-gfm)
find_package(Python3 COMPONENTS Interpreter)
if(CMARK AND Python3_FOUND)
  set(page ${CMAKE_BINARY_DIR}/hivequarry-cli.1)
  add_custom_command(OUTPUT ${page} DEPENDS scripts/manpage docs/manual.md VERBATIM
    WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
    COMMAND ${Python3_EXECUTABLE} scripts/manpage ${page} ${PROJECT_VERSION})
  add_custom_target(manpage ALL DEPENDS ${page})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
if(HIVEQUARRY_LIBRARY)
  install(TARGETS hivequarry LIBRARY PUBLIC_HEADER)
  install(FILES library/examples/list_hive.c library/examples/list_hive.py
          DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
  configure_file(cmake/hivequarry.pc.in ${CMAKE_BINARY_DIR}/hivequarry.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/hivequarry.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME hivequarry-cli)
set(CPACK_PACKAGE_CONTACT "Hivequarry's maintainers <hivequarry@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "recovers what damaged registry hive files hold")
set(CPACK_PACKAGE_DESCRIPTION "Opens registry hive files offline, whatever their state, and gets back
what a damaged, truncated, overwritten or edited hive still holds. The hive
is never written. With a library and its interface in C.")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
include(CPack)
