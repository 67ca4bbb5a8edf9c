# invitro_embed(target symbol file): compiles the bytes of `file` into `target`
# as `extern const unsigned char symbol[]; extern const unsigned long symbol_size;`
# (declared by the owner's header). The array is regenerated when the file changes.
set(INVITRO_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/embed_file.cmake)

function(invitro_embed target symbol file)
  get_filename_component(abs ${file} ABSOLUTE)
  set(out ${CMAKE_CURRENT_BINARY_DIR}/embed_${symbol}.cpp)
  add_custom_command(
    OUTPUT ${out}
    COMMAND ${CMAKE_COMMAND} -DIN=${abs} -DOUT=${out} -DSYMBOL=${symbol}
            -P ${INVITRO_EMBED_SCRIPT}
    DEPENDS ${abs} ${INVITRO_EMBED_SCRIPT}
    COMMENT "Embedding ${file} as ${symbol}"
    VERBATIM)
  target_sources(${target} PRIVATE ${out})
endfunction()
