# SQLite compiled from its sources, for platforms that have no package of it.
set(orv_sqlite ${PROJECT_BINARY_DIR}/third_party/sqlite)
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/sqlite ${orv_sqlite} RESULT_VARIABLE orv_sqlite_status)
if(orv_sqlite_status EQUAL 0)
  add_library(orv_sqlite STATIC ${orv_sqlite}/sqlite3.c)
  target_compile_definitions(orv_sqlite PRIVATE SQLITE_OMIT_LOAD_EXTENSION SQLITE_DQS=0 SQLITE_OMIT_DEPRECATED)
  target_include_directories(orv_sqlite SYSTEM PUBLIC ${orv_sqlite})
  # It is the same for every kind of build.
  target_compile_options(orv_sqlite PRIVATE -w -O2)
  add_library(SQLite::SQLite3 ALIAS orv_sqlite)
endif()
