# What an installation adds for the desktop, and the Debian package of the
# client. Everything the client needs is in the "client" component; the
# development server installs apart and stays out of the package.
set(korvane_resources ${PROJECT_SOURCE_DIR}/resources)

install(FILES ${korvane_resources}/desktop/korvane-client.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT client)

# The autostart entry goes to the system's configuration, which is /etc for a
# /usr prefix. Decided at install time: the package installs to /usr whatever
# prefix this tree was configured with.
install(CODE "
    set(korvane_sysconf \"${CMAKE_INSTALL_SYSCONFDIR}\")
    if(NOT IS_ABSOLUTE \"\${korvane_sysconf}\")
        if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
            set(korvane_sysconf /etc)
        else()
            set(korvane_sysconf \"\${CMAKE_INSTALL_PREFIX}/\${korvane_sysconf}\")
        endif()
    endif()
    file(INSTALL DESTINATION \"\${korvane_sysconf}/xdg/autostart\" TYPE FILE
         RENAME korvane-client.desktop FILES \"${korvane_resources}/desktop/korvane-client-autostart.desktop\")
" COMPONENT client)

# The order relay, socket-activated by the system's service manager, and the
# user unit that brings a crashed client back (started by the autostart entry).
install(FILES ${korvane_resources}/systemd/korvane-relayd.socket ${korvane_resources}/systemd/korvane-relayd.service
        DESTINATION /lib/systemd/system COMPONENT client)
install(FILES ${korvane_resources}/systemd/korvane-client.service
        DESTINATION lib/systemd/user COMPONENT client)

# Debian's documents are compressed without a name or time stamp, so that the package builds the same twice.
set(KORVANE_DEB_VERSION ${PROJECT_VERSION}-1)
# The organisation that ships the package names itself here and in the copyright file it gives.
set(KORVANE_DEB_MAINTAINER "Korvane Client maintainers <korvane-client@example.org>"
    CACHE STRING "The package's maintainer, \"Name <address>\"")
set(KORVANE_DEB_COPYRIGHT ${korvane_resources}/debian/copyright CACHE FILEPATH "The package's copyright file")
configure_file(${korvane_resources}/debian/changelog.in ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian @ONLY)
set(korvane_gzipped)
foreach(plain ${korvane_resources}/man/korvane-client.1 ${korvane_resources}/man/korvane-relayd.8
              ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian)
    get_filename_component(name ${plain} NAME)
    set(packed ${CMAKE_CURRENT_BINARY_DIR}/packed/${name}.gz)
    add_custom_command(OUTPUT ${packed}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/packed
        COMMAND sh -c "gzip -9nc \"$1\" > \"$2\"" gzip ${plain} ${packed}
        DEPENDS ${plain}
        VERBATIM)
    list(APPEND korvane_gzipped ${packed})
endforeach()
add_custom_target(korvane_docs ALL DEPENDS ${korvane_gzipped})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/packed/korvane-client.1.gz
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT client)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/packed/korvane-relayd.8.gz
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT client)
install(FILES ${KORVANE_DEB_COPYRIGHT} RENAME copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/korvane-client COMPONENT client)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/packed/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/korvane-client COMPONENT client)

set(CPACK_PACKAGE_NAME korvane-client)
set(CPACK_PACKAGE_VENDOR "Korvane")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "workstation client of the Korvane alert and message service")
set(CPACK_PACKAGE_DESCRIPTION
    "The client lives behind a notification-area icon and keeps one link to the
Korvane Server. It shows each message that concerns the user in an
always-on-top banner that scrolls across the screen in the colours and with
the sound of its level, sends receipts back to the author, and lets authors
write messages and administrators manage the service.
.
It starts at every graphical logon. The server's address is set for the whole
machine in /etc/xdg/Korvane/KorvaneClient.ini.")
set(CPACK_GENERATOR DEB)
# Only the client: a staging root of its own, with /etc beside /usr.
set(CPACK_INSTALL_CMAKE_PROJECTS "${PROJECT_BINARY_DIR};${PROJECT_NAME};client;/")
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${KORVANE_DEB_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The libraries it links are found by dpkg-shlibdeps; the plug-ins Qt loads at run time are not.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, libqt6sql6-sqlite")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gstreamer1.0-plugins-base, gstreamer1.0-plugins-good, xdg-utils")
# The autostart entry is configuration: an administrator's edit survives an upgrade.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${korvane_resources}/debian/conffiles ${korvane_resources}/debian/postinst
    ${korvane_resources}/debian/prerm ${korvane_resources}/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
