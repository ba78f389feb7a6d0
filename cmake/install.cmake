# What "cmake --install" puts where, on a system whose programs lie in bin and their data in share.
# For Windows scripts/build-windows.sh packs the programs.
if(NOT UNIX OR FENWRIGHT_FUZZ)
  return()
endif()
include(GNUInstallDirs)

# The day of the build; of the commit where SOURCE_DATE_EPOCH says when that was.
string(TIMESTAMP FENWRIGHT_BUILD_DATE "%Y-%m-%d" UTC)

install(TARGETS fenwright fenwright-cli fenwright-board RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(TARGET manual)
  # The window program looks for it there.
  install(FILES ${CMAKE_BINARY_DIR}/apps/fenwright/readme_tarnwick6.pdf
          DESTINATION ${CMAKE_INSTALL_DATADIR}/fenwright)
endif()
if(TARGET guide)
  install(FILES ${CMAKE_BINARY_DIR}/apps/fenwright/guide_english.pdf
          DESTINATION ${CMAKE_INSTALL_DOCDIR})
endif()
if(TARGET shell-files)
  # Man pages and completion, laid out as they are installed.
  install(DIRECTORY ${CMAKE_BINARY_DIR}/shell/share/ DESTINATION ${CMAKE_INSTALL_DATADIR})
endif()

# The desktop: the menu entry, the type of .hex files, and what a software centre shows.
install(FILES packaging/linux/fenwright.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(DIRECTORY packaging/linux/icons/ DESTINATION ${CMAKE_INSTALL_DATADIR}/icons)
install(FILES packaging/linux/fenwright.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
configure_file(packaging/linux/fenwright.metainfo.xml.in packaging/fenwright.metainfo.xml @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/packaging/fenwright.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

# Documents whose links stay within the folder.
install(FILES LICENSE THIRD-PARTY.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY licenses DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(
  FILES docs/command-line.md docs/command-line-examples.md docs/fenwright-cli.schema.json
        docs/fenwright-job.schema.json docs/job.md
        docs/json.md docs/protocol.md docs/simulated-board.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
install(
  DIRECTORY examples
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  PATTERN "*.sh" EXCLUDE)
