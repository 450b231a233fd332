# Builds TinyXML from its sources as a static library, for the processors and the macOS that everything else is built
# for, and makes the target TinyXML::TinyXML. It is compiled without the warnings of this project.
foreach(file tinyxml.cpp tinyxmlerror.cpp tinyxmlparser.cpp tinyxml.h)
  if(NOT EXISTS "${INSTALLUTILITY_TINYXML_SOURCE}/${file}")
    message(FATAL_ERROR "INSTALLUTILITY_TINYXML_SOURCE: there is no ${file} in ${INSTALLUTILITY_TINYXML_SOURCE}")
  endif()
endforeach()

add_library(TinyXML STATIC
  "${INSTALLUTILITY_TINYXML_SOURCE}/tinyxml.cpp"
  "${INSTALLUTILITY_TINYXML_SOURCE}/tinyxmlerror.cpp"
  "${INSTALLUTILITY_TINYXML_SOURCE}/tinyxmlparser.cpp")
target_compile_definitions(TinyXML PUBLIC TIXML_USE_STL)
target_include_directories(TinyXML SYSTEM PUBLIC
  "$<BUILD_INTERFACE:${INSTALLUTILITY_TINYXML_SOURCE}>"
  "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/InstallUtility>")
add_library(TinyXML::TinyXML ALIAS TinyXML)
