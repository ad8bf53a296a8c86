# What `cmake --install` lays down, in three components: `library` (what a running host or program needs), `development`
# (headers, link names, the CMake package, pkg-config) and `program` (orvflow, the ready-made nodes, examples, pages).
#
#   Linux    bin/orvflow, LIB/libwffDDR.so.N, LIB/libCoreObjects.so.N, LIB/orvworkflow/ (plug-ins, and the name under which
#            hosts load CoreObjects), LIB/cmake/OrvWorkFlow/, LIB/pkgconfig/, include/OrvWorkFlow/
#   Windows  bin/ holds programs and all DLLs, those of the compiler too; lib/ import libraries; the rest is the same
include(CMakePackageConfigHelpers)

# The number that a plug-in's and a host's version of the contract must equal; N above.
file(READ include/OrvWorkFlow/Plugin.h orv_plugin_header)
string(REGEX MATCH "kPluginContractVersion = ([0-9]+)" orv_found "${orv_plugin_header}")
set(contract_version ${CMAKE_MATCH_1})

set_target_properties(wffDDR CoreObjects PROPERTIES
  VERSION ${contract_version}.${PROJECT_VERSION} SOVERSION ${contract_version})
set_target_properties(wffDDR PROPERTIES EXPORT_NAME Runtime)
set_target_properties(orv_sdk PROPERTIES EXPORT_NAME Sdk OUTPUT_NAME OrvWorkFlowSdk)
set_target_properties(orv_host PROPERTIES EXPORT_NAME Host OUTPUT_NAME OrvWorkFlowHost)
target_include_directories(wffDDR PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_include_directories(CoreObjects PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

set(orv_config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/OrvWorkFlow)
set(orv_program ${CMAKE_INSTALL_BINDIR}/orvflow${CMAKE_EXECUTABLE_SUFFIX})
if(WIN32)
  set(orv_plugin_dir ${CMAKE_INSTALL_BINDIR})
else()
  set(orv_plugin_dir ${CMAKE_INSTALL_LIBDIR}/orvworkflow)
endif()

install(TARGETS wffDDR CoreObjects EXPORT OrvWorkFlowTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(TARGETS orv_sdk orv_host EXPORT OrvWorkFlowTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY include/OrvWorkFlow DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN "*.h")
install(TARGETS orvflow RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
get_property(orv_node_plugins GLOBAL PROPERTY ORV_NODE_PLUGINS)
install(TARGETS ${orv_node_plugins} LIBRARY DESTINATION ${orv_plugin_dir} COMPONENT program)
# Without what their scripts leave.
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT program USE_SOURCE_PERMISSIONS
  FILES_MATCHING PATTERN "README.md" PATTERN "flow.xml" PATTERN "guest.xml" PATTERN "north.xml" PATTERN "south.xml" PATTERN "worker.xml"
  PATTERN "*.sh" PATTERN "*.cpp" PATTERN "CMakeLists.txt"
  PATTERN "answer" EXCLUDE PATTERN "backup" EXCLUDE PATTERN "build" EXCLUDE PATTERN "data" EXCLUDE PATTERN "done" EXCLUDE
  PATTERN "files" EXCLUDE PATTERN "in" EXCLUDE PATTERN "net" EXCLUDE PATTERN "server" EXCLUDE PATTERN "source" EXCLUDE PATTERN "TickHost" EXCLUDE)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/pages COMPONENT development FILES_MATCHING PATTERN "*.md"
  PATTERN "*.schema.json")
if(WIN32)
  foreach(dll libgcc_s_dw2-1.dll libstdc++-6.dll libwinpthread-1.dll)
    install(FILES ${PROJECT_BINARY_DIR}/bin/${dll} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library)
  endforeach()
else()
  # Hosts load the library by its plain name, which is looked for in this folder too.
  install(CODE "
    set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${orv_plugin_dir}\")
    file(MAKE_DIRECTORY \"\${folder}\")
    file(CREATE_LINK ../libCoreObjects.so.${contract_version} \"\${folder}/libCoreObjects.so\" SYMBOLIC)" COMPONENT library)
endif()

install(EXPORT OrvWorkFlowTargets NAMESPACE OrvWorkFlow:: DESTINATION ${orv_config_dir} COMPONENT development)
configure_package_config_file(cmake/OrvWorkFlowConfig.cmake.in ${PROJECT_BINARY_DIR}/package/OrvWorkFlowConfig.cmake
  INSTALL_DESTINATION ${orv_config_dir} PATH_VARS orv_plugin_dir orv_program)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/OrvWorkFlowConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/OrvWorkFlowConfig.cmake ${PROJECT_BINARY_DIR}/package/OrvWorkFlowConfigVersion.cmake
  cmake/OrvWorkFlowPlugin.cmake cmake/plugin.map DESTINATION ${orv_config_dir} COMPONENT development)
file(RELATIVE_PATH orv_pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/orvworkflow.pc.in ${PROJECT_BINARY_DIR}/package/orvworkflow.pc @ONLY)
configure_file(cmake/orvworkflow-host.pc.in ${PROJECT_BINARY_DIR}/package/orvworkflow-host.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/orvworkflow.pc ${PROJECT_BINARY_DIR}/package/orvworkflow-host.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
