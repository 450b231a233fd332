# What cpack makes: a .tar.gz, and on Linux a Debian package, for the machines that build and check products. Both contain
# the components Runtime and Documentation of cmake/Install.cmake. "cpack --config BUILD/CPackConfig.cmake" makes them.
set(CPACK_PACKAGE_NAME installutility)
set(CPACK_PACKAGE_VENDOR Vorlane)
set(CPACK_PACKAGE_CONTACT "Vorlane <developers@vorlane.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "installation engine for plug-ins, and the tool that checks its products")
set(CPACK_PACKAGE_DESCRIPTION
  "InstallUtility installs one product of a plug-in family per run, or takes one
away. InstallInspector writes and checks product definitions, previews runs,
shows what is installed, and reads logs.
.
This package is for machines that build or check products. It contains both
programs, man pages, XML schemas, examples and documents.")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 0)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_INSTALL_CMAKE_PROJECTS
  "${PROJECT_BINARY_DIR};${PROJECT_NAME};Runtime;/;${PROJECT_BINARY_DIR};${PROJECT_NAME};Documentation;/")
set(CPACK_GENERATOR TGZ)

if(APPLE)
  list(LENGTH CMAKE_OSX_ARCHITECTURES processors)
  set(processor ${CMAKE_SYSTEM_PROCESSOR})
  if(processors GREATER 1)
    set(processor universal)
  endif()
  set(CPACK_SYSTEM_NAME macOS-${processor})
else()
  set(CPACK_SYSTEM_NAME ${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
  find_program(DPKG_SHLIBDEPS dpkg-shlibdeps) # finds out which packages the libraries come from
  mark_as_advanced(DPKG_SHLIBDEPS)
  if(DPKG_SHLIBDEPS)
    list(APPEND CPACK_GENERATOR DEB)
  endif()
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION devel)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # The opened uninstaller asks with dialogs; the example script of a package reads XML.
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS "zenity, libxml2-utils")
  set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/DebianDocuments.cmake")
  set(CPACK_INSTALLUTILITY_COPYRIGHT "${INSTALLUTILITY_COPYRIGHT}")
endif()
include(CPack)
