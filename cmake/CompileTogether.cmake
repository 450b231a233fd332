# With CMAKE_UNITY_BUILD, as the preset "release" has it: compiles the sources of each folder of `target` as one, which
# takes a third of the time. So a name in an unnamed namespace has to be the only one of its folder.
function(installutility_compile_together target)
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    cmake_path(GET source PARENT_PATH folder)
    cmake_path(GET folder FILENAME folder)
    set_property(SOURCE "${source}" TARGET_DIRECTORY ${target} PROPERTY UNITY_GROUP "${target}${folder}")
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
endfunction()
