# Builds utf8proc from its sources as a static library, for the processors and the macOS that everything else is built for.
# It is compiled without the warnings of this project.
if(NOT EXISTS "${INSTALLUTILITY_UTF8PROC_SOURCE}/utf8proc.c")
  message(FATAL_ERROR "INSTALLUTILITY_UTF8PROC_SOURCE: there is no utf8proc.c in ${INSTALLUTILITY_UTF8PROC_SOURCE}")
endif()
enable_language(C)
add_library(utf8proc STATIC "${INSTALLUTILITY_UTF8PROC_SOURCE}/utf8proc.c")
target_compile_definitions(utf8proc PUBLIC UTF8PROC_STATIC)
set(utf8proc_INCLUDE_DIR "${INSTALLUTILITY_UTF8PROC_SOURCE}")
set(utf8proc_LIBRARY utf8proc)
