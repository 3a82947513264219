# Installing like a desktop program: the binary (src/app), the desktop entry that also claims the
# orvane-screen:// links, the icon theme, the AppStream description and the wallpapers; and a .deb of all
# of it, whose dependencies dpkg-shlibdeps reads off the libraries the program links.
include(GNUInstallDirs)
set(ORVANE_APP_ID tech.velvetcomet.orvane.screen)
# Drawn there by orvane-icon-generator while the program builds (src/app).
set(ORVANE_ICON_THEME_DIR ${CMAKE_BINARY_DIR}/icons/hicolor)

install(FILES resources/desktop/${ORVANE_APP_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
configure_file(resources/desktop/${ORVANE_APP_ID}.metainfo.xml
    ${CMAKE_BINARY_DIR}/${ORVANE_APP_ID}.metainfo.xml @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/${ORVANE_APP_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(DIRECTORY ${ORVANE_ICON_THEME_DIR}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(DIRECTORY resources/Wallpapers/ DESTINATION ${CMAKE_INSTALL_DATADIR}/orvane-screen/Wallpapers
    FILES_MATCHING PATTERN "*.png")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvane-screen)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Velvet Comet")
set(CPACK_PACKAGE_CONTACT "Orvane Screen developers <orvane-screen@velvetcomet.tech>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Polished screen recordings with automatic zooms")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Drawn at run time by Qt's platform plugins, which no library of ours links: name them outright.
# The QML modules the views import are plugins no library links, so shlibdeps cannot see them.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, fonts-inter, fonts-dejavu-core, qml6-module-qtqml, qml6-module-qtqml-models, qml6-module-qtqml-workerscript, qml6-module-qtquick, qml6-module-qtquick-controls, qml6-module-qtquick-templates, qml6-module-qtquick-layouts, qml6-module-qtquick-window, qml6-module-qtquick-dialogs, qml6-module-qt-labs-folderlistmodel, qml6-module-qtquick-shapes")
include(CPack)
