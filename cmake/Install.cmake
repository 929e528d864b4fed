# What `cmake --install` puts where, and the Debian package CPack makes from it
# (`cpack -G DEB` in the build folder; scripts/package does both). Paths follow the FHS and the
# freedesktop specifications, so the menu, the icon theme, AppStream, man and the shells' own
# completion loaders find everything without a step of their own.
include(GNUInstallDirs)
# `install` and CPack take what the targets below built, without building every test first.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

install(TARGETS velto velto-gui velto-browser-host velto-replay
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The category seed; binaries look for it in ../share/velto next to themselves.
install(FILES resources/categories.json DESTINATION ${CMAKE_INSTALL_DATADIR}/velto)

# Resources the binaries carry built in, shipped as files too so they can be read, and the
# browser extension loaded unpacked from here. The native messaging host manifests are not
# shipped: `velto browser install` writes them per user into each browser's own folder, and
# `velto browser uninstall` must be able to take them away again. A system-wide manifest would
# connect every user's browsers to the host whether or not they chose it. For the same reason
# of choice the desktop shell pieces are not put where the shells load them for everybody: the
# recorder loads the KWin script for its own session and quits it with itself, and installs the
# GNOME Shell extension for the user in the form the running Shell version needs.
install(DIRECTORY resources/browser-extension/ DESTINATION ${CMAKE_INSTALL_DATADIR}/velto/browser-extension)
install(DIRECTORY resources/desktop-shells/ DESTINATION ${CMAKE_INSTALL_DATADIR}/velto/desktop-shells)

# Shell completions and the manual page, written by the built command from its command table.
set(VELTO_COMMAND_DOCS ${CMAKE_BINARY_DIR}/command-docs)
set(VELTO_COMMAND_DOC_FILES ${VELTO_COMMAND_DOCS}/velto.bash ${VELTO_COMMAND_DOCS}/velto.zsh
  ${VELTO_COMMAND_DOCS}/velto.fish ${VELTO_COMMAND_DOCS}/velto.1)
add_custom_command(OUTPUT ${VELTO_COMMAND_DOC_FILES}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${VELTO_COMMAND_DOCS}
  COMMAND ${CMAKE_COMMAND} -DVELTO=$<TARGET_FILE:velto> -DOUT=${VELTO_COMMAND_DOCS}
          -P ${CMAKE_SOURCE_DIR}/cmake/WriteCommandDocs.cmake
  DEPENDS velto ${CMAKE_SOURCE_DIR}/cmake/WriteCommandDocs.cmake
  COMMENT "Writing shell completions and velto.1" VERBATIM)
add_custom_target(velto_command_docs ALL DEPENDS ${VELTO_COMMAND_DOC_FILES})
install(FILES ${VELTO_COMMAND_DOCS}/velto.bash
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME velto)
install(FILES ${VELTO_COMMAND_DOCS}/velto.zsh
  DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions RENAME _velto)
install(FILES ${VELTO_COMMAND_DOCS}/velto.fish
  DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d RENAME velto.fish)
install(CODE "execute_process(COMMAND gzip -9nf \"${VELTO_COMMAND_DOCS}/velto.1\" -c
                OUTPUT_FILE \"${VELTO_COMMAND_DOCS}/velto.1.gz\")")
install(FILES ${VELTO_COMMAND_DOCS}/velto.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# The menu entry (with the GenericName, Comment and Keywords of every catalog), its AppStream
# description and the icons: one SVG drawn by hand, rendered to the hicolor sizes here.
set(VELTO_DESKTOP_FILES ${CMAKE_BINARY_DIR}/desktop)
set(VELTO_LINUX_RESOURCES ${CMAKE_SOURCE_DIR}/resources/linux)
file(GLOB VELTO_CATALOG_FILES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/resources/i18n/*.json)
add_custom_command(OUTPUT ${VELTO_DESKTOP_FILES}/velto.desktop
  COMMAND ${CMAKE_COMMAND} -DTEMPLATE=${VELTO_LINUX_RESOURCES}/velto.desktop.in
          -DCATALOGS=${CMAKE_SOURCE_DIR}/resources/i18n -DOUT=${VELTO_DESKTOP_FILES}/velto.desktop
          -P ${CMAKE_SOURCE_DIR}/cmake/WriteDesktopEntry.cmake
  DEPENDS ${VELTO_LINUX_RESOURCES}/velto.desktop.in ${VELTO_CATALOG_FILES}
          ${CMAKE_SOURCE_DIR}/cmake/WriteDesktopEntry.cmake
  COMMENT "Writing velto.desktop" VERBATIM)
set(VELTO_ICON_SIZES 16 22 24 32 48 64 128 256 512)
find_program(VELTO_RSVG_CONVERT rsvg-convert)
set(VELTO_ICON_FILES)
if(VELTO_RSVG_CONVERT)
  foreach(size ${VELTO_ICON_SIZES})
    set(png ${VELTO_DESKTOP_FILES}/icons/${size}x${size}/velto.png)
    add_custom_command(OUTPUT ${png}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${VELTO_DESKTOP_FILES}/icons/${size}x${size}
      COMMAND ${VELTO_RSVG_CONVERT} -w ${size} -h ${size} -o ${png}
              ${VELTO_LINUX_RESOURCES}/icons/velto.svg
      DEPENDS ${VELTO_LINUX_RESOURCES}/icons/velto.svg VERBATIM)
    list(APPEND VELTO_ICON_FILES ${png})
    install(FILES ${png} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
  endforeach()
else()
  message(STATUS "rsvg-convert not found (librsvg2-bin): only the scalable icons are installed")
endif()
add_custom_target(velto_desktop_files ALL
  DEPENDS ${VELTO_DESKTOP_FILES}/velto.desktop ${VELTO_ICON_FILES})
install(FILES ${VELTO_DESKTOP_FILES}/velto.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${VELTO_LINUX_RESOURCES}/org.velto.Velto.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${VELTO_LINUX_RESOURCES}/icons/velto.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${VELTO_LINUX_RESOURCES}/icons/velto-symbolic.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/symbolic/apps)

# The systemd user unit, naming the installed `velto` (known only at install time, since CPack
# installs under its own prefix). Under lib/, never the multiarch libdir: systemd reads
# <prefix>/lib/systemd/user.
install(CODE "set(VELTO_BINDIR \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
  configure_file(\"${VELTO_LINUX_RESOURCES}/velto.service.in\"
                 \"${VELTO_DESKTOP_FILES}/velto.service\" @ONLY)")
install(FILES ${VELTO_DESKTOP_FILES}/velto.service DESTINATION lib/systemd/user)

# Debian's copyright and changelog files, which every package carries in its doc folder.
install(FILES ${VELTO_LINUX_RESOURCES}/debian/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/velto)
install(CODE "execute_process(COMMAND gzip -9nc \"${VELTO_LINUX_RESOURCES}/debian/changelog\"
                OUTPUT_FILE \"${VELTO_DESKTOP_FILES}/changelog.Debian.gz\")")
install(FILES ${VELTO_DESKTOP_FILES}/changelog.Debian.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/velto)

# The Debian package. Dependencies come from the binaries' shared libraries (dpkg-shlibdeps);
# the rest are what the program starts or loads at run time rather than links.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velto)
set(CPACK_PACKAGE_VENDOR "Velto")
set(CPACK_PACKAGE_CONTACT "Velto developers <velto@velto.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "personal screen-time recorder for the Linux desktop")
set(CPACK_PACKAGE_DESCRIPTION "Velto records which application, window, site and tool is in
front as segments in a local SQLite file, and turns them into reports, limits
and goals. It runs as a tray application or as a recorder without a tray on
X11, wlroots compositors, KDE Plasma and GNOME. No account, no network: the
data never leaves the computer.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# The first packaging of this upstream version (velto_0.1.0-1_amd64.deb).
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://velto.org")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Time zones for the calendar, Qt's Wayland platform plugin (loaded, not linked) and the tray
# icon's picture formats; a notification server and the portal come with any desktop.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "tzdata, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "dbus-user-session")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
