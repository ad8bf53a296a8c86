# What `cpack` makes of an installation: Debian packages on Linux, an archive and an installer for Windows. `./dev package`
# calls it. The same sources give the same bytes: all times are SOURCE_DATE_EPOCH.
set(CPACK_PACKAGE_NAME OrvWorkFlow)
set(CPACK_PACKAGE_VENDOR "OrvWorkFlow")
set(ORVFLOW_MAINTAINER "OrvWorkFlow developers <developers@orvworkflow.invalid>" CACHE STRING "Whom the packages name")
set(CPACK_PACKAGE_CONTACT ${ORVFLOW_MAINTAINER})
set(CPACK_PACKAGE_INSTALL_DIRECTORY OrvWorkFlow)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/packaging/copyright)
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/OneTime.cmake)

# All that is laid down, and no test.
add_custom_target(packaged DEPENDS wffDDR CoreObjects orv_sdk orv_host orvflow ${orv_node_plugins})

if(WIN32)
  set(CPACK_GENERATOR ZIP NSIS)
  set(CPACK_PACKAGE_FILE_NAME orvflow-${PROJECT_VERSION}-win32)
  set(CPACK_MONOLITHIC_INSTALL ON)
  set(CPACK_NSIS_DISPLAY_NAME "OrvWorkFlow ${PROJECT_VERSION}")
  set(CPACK_NSIS_MODIFY_PATH ON)
  set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL ON)
  # The times of files that CPack itself writes for the installer would be in it.
  set(CPACK_NSIS_DEFINES "  SetDateSave off")
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENTS_ALL library development program)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
  set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

  set(orv_library_package liborvworkflow${contract_version})
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${orv_library_package})
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/package/shlibs;${PROJECT_BINARY_DIR}/package/triggers)
  file(WRITE ${PROJECT_BINARY_DIR}/package/shlibs "libwffDDR ${contract_version} ${orv_library_package} (>= ${PROJECT_VERSION})
libCoreObjects ${contract_version} ${orv_library_package} (>= ${PROJECT_VERSION})
")
  file(WRITE ${PROJECT_BINARY_DIR}/package/triggers "activate-noawait ldconfig\n")
  set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "core objects of a workflow runtime
The shared libraries that a program loads to run workflows: a dictionary
that is kept as XML, the file system with workflow paths, the engine that
maps and queues signals, and the mediator that loads the work nodes.")

  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborvworkflow-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${orv_library_package} (= ${PROJECT_VERSION})")
  set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "headers for work nodes and hosts of workflows
What it takes to write a work node or a program that runs workflows: the
headers of the contract, base classes for nodes, a class that runs a
workflow in a program, a CMake package and pkg-config files.")

  set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME orvflow)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION utils)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/bin)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${orv_library_package} (= ${PROJECT_VERSION})")
  set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "runs workflows of plug-in nodes
Runs a workflow that a dictionary file describes, stops it when asked and
goes on where it was: with ready-made nodes that copy, verify and report,
and tools for dictionary files.")

  # Manual pages and completions, by what the program says of itself.
  find_program(ORVFLOW_GZIP gzip REQUIRED)
  set(orv_pages ${PROJECT_BINARY_DIR}/package/man1)
  set(orv_completions ${PROJECT_BINARY_DIR}/package/completions)
  set(orv_texts_made ${PROJECT_BINARY_DIR}/package/texts-made)
  add_custom_command(OUTPUT ${orv_texts_made} DEPENDS orvflow
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${orv_pages} ${orv_completions}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${orv_pages} ${orv_completions}
    COMMAND orvflow manual --into ${orv_pages}
    COMMAND ${ORVFLOW_GZIP} -9nfr ${orv_pages}
    COMMAND orvflow completion bash > ${orv_completions}/orvflow
    COMMAND orvflow completion zsh > ${orv_completions}/_orvflow
    COMMAND orvflow completion fish > ${orv_completions}/orvflow.fish
    COMMAND ${CMAKE_COMMAND} -E touch ${orv_texts_made})
  add_custom_target(orvflow_manual ALL DEPENDS ${orv_texts_made})
  add_dependencies(packaged orvflow_manual)
  install(DIRECTORY ${orv_pages}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
  install(FILES ${orv_completions}/orvflow DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT program)
  install(FILES ${orv_completions}/_orvflow DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT program)
  install(FILES ${orv_completions}/orvflow.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
    COMPONENT program)

  # What Debian wants to find beside the files of each package.
  string(TIMESTAMP orv_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  foreach(component library development program)
    string(TOUPPER ${component} upper)
    set(name ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    set(text ${PROJECT_BINARY_DIR}/package/${component}-changelog)
    file(WRITE ${text} "${name} (${PROJECT_VERSION}) unstable; urgency=low

  * See /usr/share/doc/OrvWorkFlow, or CHANGELOG.md in the sources.

 -- ${CPACK_PACKAGE_CONTACT}  ${orv_date}
")
    execute_process(COMMAND ${ORVFLOW_GZIP} -9nc INPUT_FILE ${text} OUTPUT_FILE ${text}.gz COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${text}.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} RENAME changelog.gz COMPONENT ${component})
    install(FILES packaging/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
  endforeach()
  install(FILES packaging/library.lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
    RENAME ${orv_library_package} COMPONENT library)
endif()

# The list of what is bundled or linked, in the versions that this machine has.
function(orv_debian_version out package)
  execute_process(COMMAND dpkg-query -W -f=\${Version} ${package} OUTPUT_VARIABLE version RESULT_VARIABLE status ERROR_QUIET)
  if(NOT status EQUAL 0)
    set(version NOASSERTION)
  endif()
  set(${out} ${version} PARENT_SCOPE)
endfunction()
string(TIMESTAMP orv_created "%Y-%m-%dT%H:%M:%SZ" UTC)
orv_debian_version(orv_cli11_version libcli11-dev)
orv_debian_version(orv_json_version nlohmann-json3-dev)
orv_debian_version(orv_xxhash_version libxxhash-dev)
orv_debian_version(orv_boost_version libboost-dev)
# orv_linked(ID NAME PACKAGE|VERSION LICENCE COPYRIGHT RELATION COMMENT): one more of what the nodes' plug-ins use.
set(orv_node_packages)
set(orv_node_relations)
function(orv_linked id name version licence copyright relation comment)
  string(APPEND orv_node_packages ",
    {\"SPDXID\": \"SPDXRef-${id}\", \"name\": \"${name}\", \"versionInfo\": \"${version}\", \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false, \"licenseConcluded\": \"${licence}\", \"licenseDeclared\": \"${licence}\", \"copyrightText\": \"${copyright}\", \"comment\": \"${comment}\"}")
  string(APPEND orv_node_relations ",
    {\"spdxElementId\": \"SPDXRef-OrvWorkFlow\", \"relationshipType\": \"${relation}\", \"relatedSpdxElement\": \"SPDXRef-${id}\"}")
  set(orv_node_packages "${orv_node_packages}" PARENT_SCOPE)
  set(orv_node_relations "${orv_node_relations}" PARENT_SCOPE)
endfunction()
set(orv_linked_comment "linked as a shared library by a plug-in, not in the packages")
if(TARGET FileNodes AND NOT WIN32)
  orv_debian_version(version libssl3)
  orv_linked(openssl OpenSSL ${version} Apache-2.0 "The OpenSSL Project Authors" DYNAMIC_LINK ${orv_linked_comment})
endif()
if(TARGET WebNodes AND WIN32)
  file(STRINGS ${PROJECT_BINARY_DIR}/third_party/curl/version version)
  orv_linked(curl curl ${version} curl "Daniel Stenberg and many contributors" STATIC_LINK "compiled into WebNodes.dll")
elseif(TARGET WebNodes)
  orv_debian_version(version libcurl4)
  orv_linked(curl curl ${version} curl "Daniel Stenberg and many contributors" DYNAMIC_LINK ${orv_linked_comment})
endif()
if(TARGET BridgeNodes AND WIN32)
  file(STRINGS ${PROJECT_BINARY_DIR}/third_party/mosquitto/version version)
  orv_linked(mosquitto libmosquitto ${version} "EPL-2.0 OR BSD-3-Clause" "Roger Light and contributors" STATIC_LINK "compiled into BridgeNodes.dll")
elseif(TARGET BridgeNodes)
  orv_debian_version(version libmosquitto1)
  orv_linked(mosquitto libmosquitto ${version} "EPL-2.0 OR BSD-3-Clause" "Roger Light and contributors" DYNAMIC_LINK ${orv_linked_comment})
endif()
if(TARGET ArchiveNodes AND WIN32)
  orv_linked(libarchive libarchive 3.6.2 BSD-2-Clause "Tim Kientzle and contributors" STATIC_LINK "compiled into ArchiveNodes.dll")
  orv_debian_version(version libz-mingw-w64)
  orv_linked(zlib zlib ${version} Zlib "Jean-loup Gailly and Mark Adler" STATIC_LINK "compiled into ArchiveNodes.dll")
elseif(TARGET ArchiveNodes)
  orv_debian_version(version libarchive13)
  orv_linked(libarchive libarchive ${version} BSD-2-Clause "Tim Kientzle and contributors" DYNAMIC_LINK ${orv_linked_comment})
  orv_debian_version(version zlib1g)
  orv_linked(zlib zlib ${version} Zlib "Jean-loup Gailly and Mark Adler" DYNAMIC_LINK ${orv_linked_comment})
endif()
if(TARGET SqlNodes AND WIN32)
  orv_linked(sqlite SQLite 3.50.2 blessing "none: public domain" STATIC_LINK "compiled into SqlNodes.dll")
elseif(TARGET SqlNodes)
  orv_debian_version(version libsqlite3-0)
  orv_linked(sqlite SQLite ${version} blessing "none: public domain" DYNAMIC_LINK ${orv_linked_comment})
endif()
file(READ web/package.json orv_web_packages)
string(JSON orv_wasm_graphviz_version GET "${orv_web_packages}" dependencies "@hpcc-js/wasm-graphviz")
if(WIN32)
  set(orv_platform win32)
  set(orv_gcc_name gcc-mingw-w64-i686-posix-runtime)
  set(orv_gcc_comment "libstdc++-6.dll and libgcc_s_dw2-1.dll are in the package")
  set(orv_gcc_relation CONTAINS)
  orv_debian_version(winpthread mingw-w64-i686-dev)
  set(orv_more_packages ",
    {\"SPDXID\": \"SPDXRef-winpthread\", \"name\": \"mingw-w64\", \"versionInfo\": \"${winpthread}\", \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false, \"licenseConcluded\": \"MIT AND BSD-3-Clause\", \"licenseDeclared\": \"MIT AND BSD-3-Clause\", \"copyrightText\": \"the mingw-w64 project\", \"comment\": \"libwinpthread-1.dll is in the package\"}")
  set(orv_more_relations ",
    {\"spdxElementId\": \"SPDXRef-OrvWorkFlow\", \"relationshipType\": \"CONTAINS\", \"relatedSpdxElement\": \"SPDXRef-winpthread\"}")
else()
  set(orv_platform linux)
  set(orv_gcc_name libstdc++6)
  set(orv_gcc_comment "linked as shared libraries, not in the packages")
  set(orv_gcc_relation DYNAMIC_LINK)
  set(orv_more_packages)
  set(orv_more_relations)
endif()
orv_debian_version(orv_gcc_version ${orv_gcc_name})
string(APPEND orv_more_packages "${orv_node_packages}")
string(APPEND orv_more_relations "${orv_node_relations}")
configure_file(packaging/orvworkflow.spdx.json.in ${PROJECT_BINARY_DIR}/package/orvworkflow.spdx.json @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/orvworkflow.spdx.json DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT program)

include(CPack)
