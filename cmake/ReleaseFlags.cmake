# What releases are built with besides optimization: they are hardened, and the same bytes wherever the checkout lies.
# Adds to the target that carries the flags of our own code.
include(CheckCXXCompilerFlag)

function(orv_release_flags target)
  set(flags -fstack-protector-strong -ffile-prefix-map=${PROJECT_BINARY_DIR}=build -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
  if(WIN32)
    set(link_flags -Wl,--dynamicbase -Wl,--nxcompat -Wl,--no-insert-timestamp)
    # The protector's few functions are linked in: the programs need no further library.
    set(link_libraries -Wl,-Bstatic -lssp -Wl,-Bdynamic)
  else()
    set(link_flags -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
    check_cxx_compiler_flag(-fcf-protection=full ORVFLOW_HAS_CF_PROTECTION)
    if(ORVFLOW_HAS_CF_PROTECTION)
      list(APPEND flags -fcf-protection=full)
    endif()
  endif()
  target_compile_options(${target} INTERFACE "$<$<CONFIG:Release>:${flags}>")
  # The checked calls need an optimizing compiler.
  target_compile_options(${target} INTERFACE
    "$<$<AND:$<CONFIG:Release>,$<NOT:$<BOOL:$<TARGET_PROPERTY:ORV_QUICK_BUILD>>>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  target_link_options(${target} INTERFACE "$<$<CONFIG:Release>:${link_flags}>")
  target_link_libraries(${target} INTERFACE "$<$<CONFIG:Release>:${link_libraries}>")
endfunction()
