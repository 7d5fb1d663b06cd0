# Run by CPack in the folder that becomes the package: Debian keeps manual pages and changelogs compressed.
file(GLOB_RECURSE texts
  ${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/*.1
  ${CPACK_TEMPORARY_DIRECTORY}/usr/share/doc/*/changelog)
execute_process(COMMAND gzip -9n ${texts} COMMAND_ERROR_IS_FATAL ANY)
