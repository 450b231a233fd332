# The options that this project's own targets are compiled with, mostly warnings. Linking the target is
# private, so nothing of it reaches a project that uses the libraries.
add_library(InstallUtilityWarnings INTERFACE)
target_compile_options(InstallUtilityWarnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wcast-align
  -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough -Wundef
  -Wformat=2 -Wno-format-nonliteral) # the log and FromFormat take a format as a parameter
if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # To the compiler, a source that is compiled together with others is a header.
  target_compile_options(InstallUtilityWarnings INTERFACE -Wno-subobject-linkage)
endif()
if(INSTALLUTILITY_WARNINGS_AS_ERRORS)
  target_compile_options(InstallUtilityWarnings INTERFACE -Werror)
endif()

# The same for what is shipped. Log lines name the source file that printed them: as it is called in the
# repository, not on the machine that built it.
add_library(InstallUtilityShipped INTERFACE)
target_link_libraries(InstallUtilityShipped INTERFACE InstallUtilityWarnings)
target_compile_options(InstallUtilityShipped INTERFACE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
