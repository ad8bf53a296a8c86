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

# orvworkflow_copy_dlls(TARGET): on Windows, puts the DLLs of the package beside the program TARGET, so that it starts from
# the folder it was built in. Does nothing elsewhere.
function(orvworkflow_copy_dlls name)
  if(NOT WIN32)
    return()
  endif()
  get_target_property(imported OrvWorkFlow::Runtime IMPORTED)
  if(NOT imported)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY $<TARGET_FILE_DIR:OrvWorkFlow::Runtime>)
    return()
  endif()
  file(GLOB dlls "${OrvWorkFlow_PLUGIN_DIR}/*.dll")
  add_custom_command(TARGET ${name} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${dlls} $<TARGET_FILE_DIR:${name}> VERBATIM)
endfunction()

# orvworkflow_add_node_test(NAME PLUGIN SOURCE...): the program NAME, and a test of CTest of that name which gives it the file
# of PLUGIN as its one argument; for the bench of OrvWorkFlow/sdk/NodeBench.h. It succeeds with exit code 0.
function(orvworkflow_add_node_test name plugin)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE OrvWorkFlow::Sdk)
  target_compile_features(${name} PRIVATE cxx_std_20)
  orvworkflow_copy_dlls(${name})
  add_test(NAME ${name} COMMAND ${name} $<TARGET_FILE:${plugin}>)
  set_tests_properties(${name} PROPERTIES TIMEOUT 120)
endfunction()

# orvworkflow_add_flow_test(NAME FLOW [PLUGIN...]): the tests NAME.check and NAME.run of CTest: `orvflow check` finds nothing in
# the file FLOW, `orvflow run` comes to its end without a failure, with the plug-ins of this build beside the installed ones.
# They need the program; where it is not installed, CMake says so and there are no such tests.
function(orvworkflow_add_flow_test name flow)
  if(TARGET orvflow)
    set(program $<TARGET_FILE:orvflow>)
  elseif(OrvWorkFlow_PROGRAM)
    set(program ${OrvWorkFlow_PROGRAM})
  else()
    message(NOTICE "${name}: ${flow} is not tested, the program orvflow is not installed")
    return()
  endif()
  set(plugins)
  foreach(plugin IN LISTS ARGN)
    list(APPEND plugins --plugin-path $<TARGET_FILE_DIR:${plugin}>)
  endforeach()
  get_filename_component(flow ${flow} ABSOLUTE)
  set(state ${CMAKE_CURRENT_BINARY_DIR}/${name}.state.xml)
  add_test(NAME ${name}.check COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} ${program} check ${plugins} ${flow})
  add_test(NAME ${name}.run
    COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} ${program} run --fresh --state ${state} --timeout 100 ${plugins} ${flow})
  set_tests_properties(${name}.check ${name}.run PROPERTIES TIMEOUT 120)
endfunction()
