# Finds TinyXML 2.6 and makes the target TinyXML::TinyXML.
#
# The library and its users must agree on TIXML_USE_STL, which changes the layout of its classes. Some
# packages define it in the header, others leave it to the user, so it is always defined here and a small
# program is linked to see that the library was built with it.
#
# TinyXML_ROOT is searched first. On macOS a static library is preferred, since the bundle has to stand alone;
# INSTALLUTILITY_TINYXML_STATIC takes no other.
include(FindPackageHandleStandardArgs)

set(static_name "${CMAKE_STATIC_LIBRARY_PREFIX}tinyxml${CMAKE_STATIC_LIBRARY_SUFFIX}")
if(INSTALLUTILITY_TINYXML_STATIC)
  set(names ${static_name})
elseif(APPLE)
  set(names ${static_name} tinyxml)
else()
  set(names tinyxml)
endif()
find_path(TinyXML_INCLUDE_DIR NAMES tinyxml.h)
find_library(TinyXML_LIBRARY NAMES ${names})
unset(static_name)
unset(names)
find_package_handle_standard_args(TinyXML REQUIRED_VARS TinyXML_LIBRARY TinyXML_INCLUDE_DIR)

if(TinyXML_FOUND AND NOT TARGET TinyXML::TinyXML)
  include(CheckCXXSourceCompiles)
  set(CMAKE_REQUIRED_INCLUDES "${TinyXML_INCLUDE_DIR}")
  set(CMAKE_REQUIRED_LIBRARIES "${TinyXML_LIBRARY}")
  check_cxx_source_compiles("
    #ifndef TIXML_USE_STL
    #define TIXML_USE_STL
    #endif
    #include <tinyxml.h>
    #include <string>
    int main() { TiXmlDocument document(std::string(\"a\")); return document.ValueStr().empty(); }"
    TinyXML_USES_STL)
  unset(CMAKE_REQUIRED_INCLUDES)
  unset(CMAKE_REQUIRED_LIBRARIES)
  if(NOT TinyXML_USES_STL)
    message(FATAL_ERROR "${TinyXML_LIBRARY} cannot be linked: it was not built with TIXML_USE_STL, or, on macOS, not "
      "for every processor of CMAKE_OSX_ARCHITECTURES (${CMAKE_OSX_ARCHITECTURES}). INSTALLUTILITY_TINYXML_SOURCE "
      "builds one that fits.")
  endif()
  # Global, so that a project with this one as a folder can link the libraries.
  add_library(TinyXML::TinyXML UNKNOWN IMPORTED GLOBAL)
  set_target_properties(TinyXML::TinyXML PROPERTIES
    IMPORTED_LOCATION "${TinyXML_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${TinyXML_INCLUDE_DIR}"
    INTERFACE_COMPILE_DEFINITIONS TIXML_USE_STL)
endif()
mark_as_advanced(TinyXML_INCLUDE_DIR TinyXML_LIBRARY)
