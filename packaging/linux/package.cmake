# What CPack makes the Debian package of. scripts/package-linux.sh has laid out the
# files in CPACK_INSTALLED_DIRECTORIES and gives that, the version and the maintainer.
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

# The libraries, as dpkg-shlibdeps finds them. That they need bubblewrap, for the
# page's sandbox, and glib-networking, for https, is said by their own packages.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What the application runs to find node and to stop a server that was left behind.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "zsh, lsof, procps")
# Not everybody has Node.js from Debian, or a server on this computer. Without a
# session bus there can be two instances; the user's folders have names by xdg-user-dirs.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "nodejs (>= 18), default-dbus-session-bus | dbus-session-bus, xdg-user-dirs")
