# What "cmake --install" places. Components: Runtime (the bundle, the companion), Documentation, Development (the two
# libraries, for find_package(InstallUtility)).
include(CMakePackageConfigHelpers)

# Installer packages contain the bundle. It is not a command, so it is not installed into the folder of commands.
set(bundle ${CMAKE_INSTALL_LIBEXECDIR}/InstallUtility.app/Contents)
install(TARGETS InstallUtility RUNTIME DESTINATION ${bundle}/MacOS COMPONENT Runtime)
install(PROGRAMS "${INSTALLUTILITY_BUNDLE}/Contents/MacOS/UninstallLauncher" DESTINATION ${bundle}/MacOS
  COMPONENT Runtime)
install(FILES "${INSTALLUTILITY_BUNDLE}/Contents/Info.plist" DESTINATION ${bundle} COMPONENT Runtime)
install(DIRECTORY "${INSTALLUTILITY_BUNDLE}/Contents/Resources" DESTINATION ${bundle} COMPONENT Runtime)
if(TARGET InstallInspector)
  install(TARGETS InstallInspector RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime)
endif()
if(TARGET InstallInspector AND NOT CMAKE_CROSSCOMPILING)
  set(zsh_folder site-functions)
  if(EXISTS /etc/debian_version)
    set(zsh_folder vendor-completions)
  endif()
  set(scripts "${PROJECT_BINARY_DIR}/completion")
  install(FILES "${scripts}/bash" DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME InstallInspector COMPONENT Runtime)
  install(FILES "${scripts}/fish" DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
    RENAME InstallInspector.fish COMPONENT Runtime)
  install(FILES "${scripts}/zsh" DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/${zsh_folder}
    RENAME _InstallInspector COMPONENT Runtime)
endif()

install(DIRECTORY "${PROJECT_BINARY_DIR}/man/" DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Documentation)
set(data ${CMAKE_INSTALL_DATADIR}/InstallUtility)
install(DIRECTORY Examples DESTINATION ${data} COMPONENT Documentation USE_SOURCE_PERMISSIONS)
if(IS_DIRECTORY "${PROJECT_SOURCE_DIR}/Schemas")
  install(DIRECTORY Schemas DESTINATION ${data} COMPONENT Documentation)
endif()
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Documentation)
install(DIRECTORY Docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Documentation
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN man EXCLUDE)

# Licences of what is linked, and of nothing else.
set(licences TinyXML)
if(TARGET PkgConfig::LIBPLIST)
  list(APPEND licences libplist)
endif()
if(TARGET InstallInspector)
  list(APPEND licences CLI11 nlohmann-json utf8proc)
  if(TARGET PkgConfig::LIBCRYPTO)
    list(APPEND licences OpenSSL)
  endif()
endif()
list(TRANSFORM licences PREPEND Licenses/)
list(TRANSFORM licences APPEND .txt)
install(FILES ${licences} DESTINATION ${CMAKE_INSTALL_DOCDIR}/Licenses COMPONENT Runtime)

# The libraries. Their headers are included as in this repository, from a folder of their own.
set(headers ${CMAKE_INSTALL_INCLUDEDIR}/InstallUtility)
set(libraries VorlaneFoundation InstallEngine)
foreach(part Foundation Utility/InstallUtility)
  install(DIRECTORY ${part}/ DESTINATION ${headers}/${part} COMPONENT Development FILES_MATCHING PATTERN "*.h")
endforeach()
install(FILES Platform/PlatformServices.h Platform/WholeFile.h DESTINATION ${headers}/Platform COMPONENT Development)
if(NOT APPLE)
  foreach(framework CoreFoundation CoreServices)
    install(FILES Platform/Linux/${framework}/${framework}.h DESTINATION ${headers}/Platform/Linux/${framework}
      COMPONENT Development)
  endforeach()
endif()
if(INSTALLUTILITY_TINYXML_SOURCE)
  list(APPEND libraries TinyXML)
  install(FILES "${INSTALLUTILITY_TINYXML_SOURCE}/tinyxml.h" DESTINATION ${headers} COMPONENT Development)
endif()

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/InstallUtility)
install(TARGETS ${libraries} EXPORT InstallUtilityTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  COMPONENT Development)
install(EXPORT InstallUtilityTargets NAMESPACE InstallUtility:: DESTINATION ${package} COMPONENT Development)
configure_package_config_file(cmake/InstallUtilityConfig.cmake.in "${PROJECT_BINARY_DIR}/InstallUtilityConfig.cmake"
  INSTALL_DESTINATION ${package})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/InstallUtilityConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/InstallUtilityConfig.cmake"
  "${PROJECT_BINARY_DIR}/InstallUtilityConfigVersion.cmake" DESTINATION ${package} COMPONENT Development)
if(NOT INSTALLUTILITY_TINYXML_SOURCE)
  install(FILES cmake/FindTinyXML.cmake DESTINATION ${package} COMPONENT Development)
endif()
