# CPack runs this on the files that it is about to pack.
file(GLOB_RECURSE texts "${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/*"
     "${CPACK_TEMPORARY_DIRECTORY}/usr/share/doc/*/changelog.Debian")
foreach(text IN LISTS texts)
  if(NOT text MATCHES "\\.gz$")
    # Without name and time, so that the same text gives the same bytes.
    execute_process(COMMAND gzip -9n "${text}" COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
