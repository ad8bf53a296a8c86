# libmosquitto compiled from its sources, for platforms that have no package of it: the client alone, which one thread drives,
# without TLS.
set(orv_mosquitto_folder ${PROJECT_BINARY_DIR}/third_party/mosquitto)
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/mosquitto ${orv_mosquitto_folder} RESULT_VARIABLE orv_mosquitto_status)
if(orv_mosquitto_status EQUAL 0)
  file(GLOB orv_mosquitto_parts ${orv_mosquitto_folder}/*.c)
  add_library(orv_mosquitto STATIC ${orv_mosquitto_parts})
  target_compile_definitions(orv_mosquitto PRIVATE WIN32 NDEBUG PUBLIC LIBMOSQUITTO_STATIC)
  target_include_directories(orv_mosquitto SYSTEM PRIVATE ${orv_mosquitto_folder} PUBLIC ${orv_mosquitto_folder}/include)
  # It is the same for every kind of build. The system's headers, which each part takes, are read once.
  target_compile_options(orv_mosquitto PRIVATE -w -O2)
  set_target_properties(orv_mosquitto PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0)
  target_link_libraries(orv_mosquitto PUBLIC ws2_32)
  add_library(Mosquitto::Mosquitto ALIAS orv_mosquitto)
endif()
