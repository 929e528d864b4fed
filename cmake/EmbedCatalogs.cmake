# Embeds resources into generated C++ sources so that every binary carries them and needs no
# resource path at run time: the string catalogs, and the desktop shell pieces.
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

# Turns every file below resources/desktop-shells (the KWin script, the GNOME Shell extension)
# into one generated C++ source: the recorder writes them out where the shell reads them.
function(velto_embed_shell_files out_var dir)
  file(GLOB_RECURSE shell_files CONFIGURE_DEPENDS ${dir}/*)
  set(generated ${CMAKE_BINARY_DIR}/generated/embedded_shell_files.cc)
  add_custom_command(
    OUTPUT ${generated}
    COMMAND ${CMAKE_COMMAND} -DOUT=${generated} -DDIR=${dir} -P ${CMAKE_SOURCE_DIR}/cmake/WriteEmbeddedFiles.cmake
    DEPENDS ${shell_files} ${CMAKE_SOURCE_DIR}/cmake/WriteEmbeddedFiles.cmake
    COMMENT "Embedding the desktop shell pieces")
  set(${out_var} ${generated} PARENT_SCOPE)
endfunction()
