# CPack settings of the Debian package. scripts/package-linux.sh passes the folder of the
# installed files, the version, the maintainer and the homepage.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvel-os)
set(CPACK_PACKAGE_FILE_NAME orvel-os)
set(CPACK_PACKAGING_INSTALL_PREFIX "/")
set(CPACK_SET_DESTDIR OFF)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "your own OS in one window")
set(CPACK_PACKAGE_DESCRIPTION
"Orvel OS shows a web application, your OS, in a window of its own. It starts
the server on this computer and stops it again, or opens the address of a
server elsewhere.")

# Adds the libraries that dpkg-shlibdeps finds. Their packages depend on bubblewrap (sandbox) and
# glib-networking (https), so these two are not listed below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The application runs these to find node and to stop an orphaned server.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "zsh, lsof, procps")
# Only recommended: Node.js may come from elsewhere, and is not needed for a server elsewhere;
# without a session bus there can be two instances; xdg-user-dirs names the Downloads folder.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "nodejs (>= 18), default-dbus-session-bus | dbus-session-bus, xdg-user-dirs")
