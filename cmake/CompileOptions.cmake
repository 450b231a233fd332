# The compile options of this project's own targets, mostly warnings. Targets link it privately, so that a project that
# uses the libraries does not get these options.
add_library(InstallUtilityWarnings INTERFACE)
target_compile_options(InstallUtilityWarnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wcast-align
  -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough -Wundef
  -Wformat=2 -Wno-format-nonliteral) # the log and FromFormat take a format as a parameter
if(CMAKE_UNITY_BUILD)
  # To g++, a source that is compiled together with others is a header. To clang, a name hides the same name of another
  # source.
  target_compile_options(InstallUtilityWarnings INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage> $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wno-shadow>)
endif()
if(INSTALLUTILITY_WARNINGS_AS_ERRORS)
  target_compile_options(InstallUtilityWarnings INTERFACE -Werror)
endif()

# The same for the shipped code. Log lines contain the path of a source file. It must begin in the repository, not in a
# folder of the machine that built it.
add_library(InstallUtilityShipped INTERFACE)
target_link_libraries(InstallUtilityShipped INTERFACE InstallUtilityWarnings)
target_compile_options(InstallUtilityShipped INTERFACE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
