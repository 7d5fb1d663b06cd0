# What is installed beside the programs, and the Debian package that CPack makes of all that is installed.
include(GNUInstallDirs)

set(packaging ${PROJECT_SOURCE_DIR}/packaging)
install(FILES ${packaging}/tovri.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${packaging}/tovri.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${packaging}/com.tovri.putio.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${packaging}/tovri-watch.service DESTINATION lib/systemd/user)
install(FILES ${packaging}/copyright ${packaging}/changelog ${packaging}/system-wide.conf ${PROJECT_SOURCE_DIR}/LICENSE
  ${PROJECT_SOURCE_DIR}/SECURITY.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tovri)
install(FILES ${PROJECT_SOURCE_DIR}/resources/icons/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tovri
  RENAME LICENSE.icons)

# These name the version in their own words.
foreach(file changelog com.tovri.putio.metainfo.xml)
  file(READ ${packaging}/${file} text)
  if(NOT text MATCHES "(tovri \\(|release version=\")${PROJECT_VERSION}[)\"]")
    message(FATAL_ERROR "packaging/${file} does not know version ${PROJECT_VERSION}")
  endif()
endforeach()

# The icon in the sizes that panels and menus ask for. The small ones are drawings of their own on a grid of that many
# pixels; 22 is the one of 24 without its margin.
set(icons ${PROJECT_SOURCE_DIR}/resources/icons)
install(FILES ${icons}/tovri.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
find_program(RSVG_CONVERT rsvg-convert)
if(RSVG_CONVERT)
  set(rendered)
  foreach(size 16 22 24 32 48 64 128 256 512)
    set(drawing ${icons}/tovri.svg)
    set(options --width=${size} --height=${size})
    if(size EQUAL 16)
      set(drawing ${icons}/tovri-16.svg)
    elseif(size EQUAL 24)
      set(drawing ${icons}/tovri-24.svg)
    elseif(size EQUAL 22)
      set(drawing ${icons}/tovri-24.svg)
      set(options --width=24 --height=24 --page-width=22 --page-height=22 --left=-1 --top=-1)
    endif()
    set(path ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
    add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/${path}/tovri.png
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/${path}
      COMMAND ${RSVG_CONVERT} ${options} --output=${PROJECT_BINARY_DIR}/${path}/tovri.png ${drawing}
      DEPENDS ${drawing} VERBATIM)
    install(FILES ${PROJECT_BINARY_DIR}/${path}/tovri.png DESTINATION ${path})
    list(APPEND rendered ${PROJECT_BINARY_DIR}/${path}/tovri.png)
  endforeach()
  add_custom_target(tovri-icons ALL DEPENDS ${rendered})
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tovri)
set(CPACK_PACKAGE_CONTACT "The Tovri authors <authors@tovri.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "download manager for put.io")
set(CPACK_PACKAGE_DESCRIPTION_FILE ${packaging}/description)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${packaging}/compress.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What the programs load without being linked to it: the window's symbols, and the certificates that HTTPS trusts.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "breeze-icon-theme, ca-certificates")
# The browser for signing in, and its way back; the keyring for what comes of it; the desktop's own look and dialogs.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
  xdg-utils desktop-file-utils "gnome-keyring | libkf5wallet-bin"
  qt6-wayland "qt6-gtk-platformtheme | qt6-xdgdesktopportal-platformtheme")
list(JOIN CPACK_DEBIAN_PACKAGE_RECOMMENDS ", " CPACK_DEBIAN_PACKAGE_RECOMMENDS)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
