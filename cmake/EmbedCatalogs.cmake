# Turns resources/i18n/<lang>.json into one generated C++ source so that every binary carries its
# string catalogs and needs no resource path at run time.
function(velto_embed_catalogs out_var dir)
  file(GLOB catalogs CONFIGURE_DEPENDS ${dir}/*.json)
  set(generated ${CMAKE_BINARY_DIR}/generated/embedded_catalogs.cc)
  add_custom_command(
    OUTPUT ${generated}
    COMMAND ${CMAKE_COMMAND} -DOUT=${generated} -DDIR=${dir} -P ${CMAKE_SOURCE_DIR}/cmake/WriteCatalogs.cmake
    DEPENDS ${catalogs} ${CMAKE_SOURCE_DIR}/cmake/WriteCatalogs.cmake
    COMMENT "Embedding string catalogs")
  set(${out_var} ${generated} PARENT_SCOPE)
endfunction()
