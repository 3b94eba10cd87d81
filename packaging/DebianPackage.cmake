# cmake --build … --target package makes a package for Debian.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT ${COMPANION_CONTACT})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${COMPANION_SUMMARY})
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Links to the USB receiver of a wireless presenter. While the presenter's
effect key is held, a spotlight, a laser dot or a magnifier follows the
mouse, on top of every slide show and without getting in its way.
.
A settings window in twelve languages has colours, sizes, magnification
and the presenter's timer. For X11, and for Wayland on sway, its kin and
Plasma; elsewhere on Wayland it runs through XWayland.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION x11)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded at run time, so no linker knows: Qt draws the icons with it. (Debian 13 has it in a package of its own.) Its
# plugin for X11 comes with its libraries.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6svg6 (<< 6.7.2-5~) | qt6-svg-plugins")
# The settings window on Wayland comes with the second.
# The spotlight needs a compositor. Most desktops have one; the first is for those without.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "picom | gnome-shell | kwin-x11 | xfwm4 | muffin | marco | enlightenment | sway | kwin-wayland, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/debian/postinst)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Debian's own list of changes goes into the package only. Everything else is what is installed anywhere.
execute_process(COMMAND env LC_ALL=C date -u -d ${COMPANION_RELEASE_DATE} "+%a, %d %b %Y"
  OUTPUT_VARIABLE companion_release_day OUTPUT_STRIP_TRAILING_WHITESPACE)
configure_file(debian/changelog.in debian-changelog @ONLY)
companion_compressed(${CMAKE_CURRENT_BINARY_DIR}/debian-changelog changelog.gz)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT debian EXCLUDE_FROM_ALL)
set(CPACK_INSTALL_CMAKE_PROJECTS
  "${PROJECT_BINARY_DIR}" ${PROJECT_NAME} ALL / "${PROJECT_BINARY_DIR}" ${PROJECT_NAME} debian /)
include(CPack)
