# CPack runs this on the files that it is about to pack: some lie elsewhere in Debian, and its
# changelogs and man pages are compressed.
set(zsh "${CPACK_TEMPORARY_DIRECTORY}/usr/share/zsh")
if(EXISTS "${zsh}/site-functions")
  file(RENAME "${zsh}/site-functions" "${zsh}/vendor-completions")
endif()
set(documents "${CPACK_TEMPORARY_DIRECTORY}/usr/share/doc/fenwright")
if(EXISTS "${documents}/CHANGELOG.md")
  # Under the name that Debian's users look for.
  file(RENAME "${documents}/CHANGELOG.md" "${documents}/changelog")
endif()
file(GLOB_RECURSE texts "${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/*" "${documents}/changelog*")
foreach(text IN LISTS texts)
  if(NOT text MATCHES "\\.gz$")
    # Without name and time, so that the same text gives the same bytes.
    execute_process(COMMAND gzip -9n "${text}" COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
