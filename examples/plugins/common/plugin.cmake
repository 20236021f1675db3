# Build rules of the plug-ins.

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release) # pixels are many
endif()
if(PROJECT_IS_TOP_LEVEL) # else the including project has done so
  include(${LUMO_PACKAGE_DIR}/cmake/Hardening.cmake)
endif()

# add_video_plugin(<name> <source>...)
# The library <name>.so in the build folder.
function(add_video_plugin name)
  add_library(${name} MODULE ${ARGN} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/entry_points.cc)
  target_compile_features(${name} PRIVATE cxx_std_20)
  target_include_directories(${name} PRIVATE ${LUMO_PACKAGE_DIR}/src/plugin
                                             ${LUMO_PACKAGE_DIR}/examples/plugins)
  set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX .so CXX_VISIBILITY_PRESET hidden)
  target_link_options(
    ${name}
    PRIVATE
    $<$<PLATFORM_ID:Linux>:LINKER:--version-script=${CMAKE_CURRENT_FUNCTION_LIST_DIR}/exports.map>)
endfunction()
