# orvworkflow_add_node_plugin(NAME SOURCE...): a plug-in library of work nodes, NAME.dll or libNAME.so, that links the base
# classes for nodes. One of its sources says ORV_WORKFLOW_PLUGIN() and registers the types.
#
# It lies in the folder of the build in which the function was called, or where LIBRARY_OUTPUT_DIRECTORY and
# CMAKE_LIBRARY_OUTPUT_DIRECTORY say; `orvflow run --plugin-path` takes that folder.
function(orvworkflow_add_node_plugin name)
  add_library(${name} MODULE ${ARGN})
  target_link_libraries(${name} PRIVATE OrvWorkFlow::Sdk)
  target_compile_features(${name} PRIVATE cxx_std_20)
  # Nothing but the version of the contract is seen from outside.
  set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  if(WIN32)
    set_target_properties(${name} PROPERTIES PREFIX "")
  else()
    set_target_properties(${name} PROPERTIES PREFIX "lib")
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # A unique symbol would keep the plug-in in memory after its unload.
      target_compile_options(${name} PRIVATE -fno-gnu-unique)
    endif()
    # A symbol that nobody has is told here, not when a workflow runs.
    target_link_options(${name} PRIVATE LINKER:--no-undefined
      LINKER:--version-script=${CMAKE_CURRENT_FUNCTION_LIST_DIR}/plugin.map)
  endif()
endfunction()

# orvworkflow_install_node_plugin(NAME): installs it where the installed `orvflow` finds it.
function(orvworkflow_install_node_plugin name)
  install(TARGETS ${name} LIBRARY DESTINATION ${OrvWorkFlow_PLUGIN_DIR} RUNTIME DESTINATION ${OrvWorkFlow_PLUGIN_DIR})
endfunction()
