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

# The browser extension (resources/browser-extension): `velto browser install` writes it out for
# the user to load, next to the native messaging host's manifests.
function(velto_embed_browser_extension out_var dir)
  file(GLOB_RECURSE extension_files CONFIGURE_DEPENDS ${dir}/*)
  set(generated ${CMAKE_BINARY_DIR}/generated/embedded_browser_extension.cc)
  add_custom_command(
    OUTPUT ${generated}
    COMMAND ${CMAKE_COMMAND} -DOUT=${generated} -DDIR=${dir} -DFUNCTION=browserExtensionFiles
            -DHEADER=platform/linux/browser_extension_files.h
            -P ${CMAKE_SOURCE_DIR}/cmake/WriteEmbeddedFiles.cmake
    DEPENDS ${extension_files} ${CMAKE_SOURCE_DIR}/cmake/WriteEmbeddedFiles.cmake
    COMMENT "Embedding the browser extension")
  set(${out_var} ${generated} PARENT_SCOPE)
endfunction()
