# libarchive compiled from its sources, for platforms that have no package of it: zip and tar, and gzip alone of what packs
# them, by Debian's zlib for them.
set(orv_libarchive ${PROJECT_BINARY_DIR}/third_party/libarchive)
find_library(orv_zlib NAMES libz.a)
find_path(orv_zlib_include zlib.h)
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/libarchive ${orv_libarchive} RESULT_VARIABLE orv_libarchive_status)
if(orv_libarchive_status EQUAL 0 AND orv_zlib AND orv_zlib_include)
  set(orv_libarchive_parts acl check_magic cmdline cryptor entry entry_sparse entry_strmode entry_xattr hmac options pack_dev ppmd7
    ppmd8 random rb read read_add_passphrase read_set_options read_support_filter_bzip2 read_support_filter_program
    read_support_filter_xz read_support_filter_zstd read_support_format_raw read_support_format_tar read_support_format_zip
    string string_sprintf util virtual windows write write_add_filter_bzip2 write_add_filter_gzip write_add_filter_none
    write_add_filter_program write_add_filter_xz write_add_filter_zstd write_set_format_pax write_set_format_ustar
    write_set_format_zip write_set_options write_set_passphrase)
  list(TRANSFORM orv_libarchive_parts REPLACE "(.+)" "${orv_libarchive}/archive_\\1.c")
  add_library(orv_libarchive STATIC ${orv_libarchive_parts} ${orv_libarchive}/filter_fork_windows.c
    ${orv_libarchive}/unsupported.c)
  target_compile_definitions(orv_libarchive PRIVATE HAVE_CONFIG_H PUBLIC LIBARCHIVE_STATIC)
  target_include_directories(orv_libarchive SYSTEM PUBLIC ${orv_libarchive})
  # It is the same for every kind of build.
  target_compile_options(orv_libarchive PRIVATE -w -O2)
  target_link_libraries(orv_libarchive PUBLIC ${orv_zlib})
  add_library(LibArchive::LibArchive ALIAS orv_libarchive)
  add_library(ZLIB::ZLIB ALIAS orv_libarchive)
endif()
