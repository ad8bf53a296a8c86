# Puts the compiler's runtime libraries beside the programs. Host, library and plug-ins must share them: with a copy linked into
# each, an exception that a plug-in throws ends the process instead of reaching the library's handler.
foreach(dll libgcc_s_dw2-1.dll libstdc++-6.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT IS_ABSOLUTE ${path})
    message(FATAL_ERROR "${CMAKE_CXX_COMPILER} has no ${dll}")
  endif()
  file(COPY ${path} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
endforeach()
