# libcurl compiled from its sources, for Windows, which has no package of it: SMTP with the system's TLS. HTTP stays in, for what
# other protocols take of it.
set(orv_curl_folder ${PROJECT_BINARY_DIR}/third_party/curl)
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/curl ${orv_curl_folder} RESULT_VARIABLE orv_curl_status)
if(orv_curl_status EQUAL 0)
  set(orv_curl_left_out FTP FILE LDAP LDAPS TELNET DICT TFTP GOPHER POP3 IMAP RTSP SMB MQTT PROXY COOKIES NETRC ALTSVC HSTS DOH
    GETOPTIONS)
  list(TRANSFORM orv_curl_left_out PREPEND CURL_DISABLE_)
  file(GLOB orv_curl_parts ${orv_curl_folder}/lib/*.c ${orv_curl_folder}/lib/v*/*.c)
  add_library(orv_curl STATIC ${orv_curl_parts})
  target_compile_definitions(orv_curl PRIVATE BUILDING_LIBCURL USE_SCHANNEL USE_WINDOWS_SSPI USE_THREADS_WIN32 USE_IPV6 ENABLE_IPV6
    ${orv_curl_left_out} PUBLIC CURL_STATICLIB)
  target_include_directories(orv_curl SYSTEM PRIVATE ${orv_curl_folder}/lib PUBLIC ${orv_curl_folder}/include)
  # It is the same for every kind of build.
  target_compile_options(orv_curl PRIVATE -w -O2)
  target_link_libraries(orv_curl PUBLIC ws2_32 crypt32 secur32 bcrypt)
  add_library(CURL::libcurl ALIAS orv_curl)
endif()
