# Run by cpack on the files of a package, before it is made. Debian wants man pages and the changelog compressed, and a file
# with the copyright.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()
file(GLOB_RECURSE pages "${CPACK_TEMPORARY_DIRECTORY}/*.1")
file(GLOB_RECURSE changes "${CPACK_TEMPORARY_DIRECTORY}/CHANGELOG.md")
foreach(file IN LISTS changes)
  cmake_path(GET file PARENT_PATH documents)
  file(RENAME "${file}" "${documents}/changelog")
  list(APPEND pages "${documents}/changelog")
  file(WRITE "${documents}/copyright" "${CPACK_INSTALLUTILITY_COPYRIGHT}\n
The licences of the libraries that are linked are in the folder Licenses beside this file.\n")
endforeach()
execute_process(COMMAND gzip -9 -n ${pages} COMMAND_ERROR_IS_FATAL ANY)
