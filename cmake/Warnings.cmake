# The warnings that this project's own targets are compiled with. Linking the target is private, so nothing
# of it reaches a project that uses the libraries.
add_library(InstallUtilityWarnings INTERFACE)
target_compile_options(InstallUtilityWarnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wcast-align
  -Wno-format-nonliteral # a format is a parameter of the log and of FromFormat
  -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wimplicit-fallthrough -Wundef)
if(INSTALLUTILITY_WARNINGS_AS_ERRORS)
  target_compile_options(InstallUtilityWarnings INTERFACE -Werror)
endif()
