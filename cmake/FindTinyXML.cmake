# Finds TinyXML 2.6 and makes the target TinyXML::TinyXML.
#
# The library and its users must agree on TIXML_USE_STL, which changes the layout of its classes. Some
# packages define it in the header, others leave it to the user, so it is always defined here and a small
# program is linked to see that the library was built with it.
include(FindPackageHandleStandardArgs)

find_path(TinyXML_INCLUDE_DIR NAMES tinyxml.h)
find_library(TinyXML_LIBRARY NAMES tinyxml)
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
    message(FATAL_ERROR "${TinyXML_LIBRARY} was not built with TIXML_USE_STL")
  endif()
  add_library(TinyXML::TinyXML UNKNOWN IMPORTED)
  set_target_properties(TinyXML::TinyXML PROPERTIES
    IMPORTED_LOCATION "${TinyXML_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${TinyXML_INCLUDE_DIR}"
    INTERFACE_COMPILE_DEFINITIONS TIXML_USE_STL)
endif()
mark_as_advanced(TinyXML_INCLUDE_DIR TinyXML_LIBRARY)
