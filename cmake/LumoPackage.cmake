# The Debian package, made by CPack from the installed tree of this very build
# ("cpack -G DEB" in the build folder; scripts/package.sh does it all), so the
# package costs an install and a compression, never a second build.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumo)
set(CPACK_PACKAGE_VENDOR "Lumo developers")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Markdown reader and light editor")
# CPack puts the summary above this.
string(CONCAT CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Lumo shows Markdown files as typeset pages in the theme, font, line width and\n"
    "text size you choose, and switches to a plain-text editor beside the page with\n"
    "one keystroke. It reads CommonMark and GitHub-flavoured Markdown with math,\n"
    "code colouring and diagrams, browses folders of notes, finds files and text\n"
    "across a project, and exports HTML and PDF. The lumo command opens files,\n"
    "folders and piped text from a terminal.")
set(LUMO_PACKAGE_MAINTAINER "Lumo developers <lumoapp@users.noreply.github.com>"
    CACHE STRING "The Maintainer field of the Debian package")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${LUMO_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION text)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The libraries the binary links, found by dpkg-shlibdeps, and what the page needs
# at run time: its text font. Emoji, native Wayland and "Make Lumo the Default"
# (xdg-mime) are welcome but not required.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-dejavu-core")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, fonts-noto-color-emoji, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
