# What is installed where, and the Debian package: cpack -G DEB.
include(GNUInstallDirs)
find_program(VELTO_GZIP gzip REQUIRED)

install(TARGETS velto RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# Where the program looks for them. Modules lie one folder lower than programs: what lies where libraries are looked for
# would have the package call ldconfig.
install(TARGETS velto-desktop velto-windows velto-delay
  LIBRARY DESTINATION lib/velto/modules RUNTIME DESTINATION lib/velto)
set(files ${CMAKE_CURRENT_LIST_DIR})
install(FILES ${files}/com.corlent.velto.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${files}/com.corlent.velto.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(FILES ${PROJECT_SOURCE_DIR}/Velto/Icons/com.corlent.velto.svg DESTINATION ${icons}/scalable/apps)
install(FILES ${files}/com.corlent.velto-symbolic.svg DESTINATION ${icons}/symbolic/apps)
# What a desktop draws in its status area, in its own colour. Not in a folder for such icons: Debian's theme has none.
foreach(form idle playing missing asking)
  install(FILES ${PROJECT_SOURCE_DIR}/Velto/Icons/status/${form}.svg DESTINATION ${icons}/symbolic/apps
    RENAME com.corlent.velto.${form}-symbolic.svg)
  # And for bars that show it as it is, which are dark.
  set(drawing ${PROJECT_SOURCE_DIR}/Velto/Icons/status/${form}.svg)
  set(light ${PROJECT_BINARY_DIR}/Packaging/com.corlent.velto.${form}-light.svg)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${drawing})
  file(READ ${drawing} text)
  string(REGEX REPLACE "color: #[0-9a-f]+" "color: #f0f0f0" text "${text}")
  file(CONFIGURE OUTPUT ${light} CONTENT "${text}" @ONLY)
  install(FILES ${light} DESTINATION ${icons}/scalable/apps)
endforeach()
install(FILES ${files}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/velto)

# Debian keeps these compressed, the same for every build.
function(install_compressed file destination)
  get_filename_component(name ${file} NAME)
  set(compressed ${PROJECT_BINARY_DIR}/Packaging/${name}.gz)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/Packaging)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  execute_process(COMMAND ${VELTO_GZIP} -9nc ${file} OUTPUT_FILE ${compressed} COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${compressed} DESTINATION ${destination})
endfunction()
install_compressed(${files}/changelog ${CMAKE_INSTALL_DATADIR}/doc/velto)
# Made from the table of commands when the program is built.
set(texts ${PROJECT_BINARY_DIR}/Packaging/commands)
install(CODE "execute_process(COMMAND ${VELTO_GZIP} -9nkf ${texts}/velto.1 COMMAND_ERROR_IS_FATAL ANY)")
install(FILES ${texts}/velto.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${texts}/velto.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME velto)
install(FILES ${texts}/_velto DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(FILES ${texts}/velto.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

set(CPACK_PACKAGE_NAME velto)
set(CPACK_PACKAGE_CONTACT "The Velto authors <velto@corlent.com>")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://corlent.com/velto")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${files}/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Velto plays all that a computer plays on two audio outputs at the same time:
earbuds and a Bluetooth speaker, built-in speakers and a USB converter, or a
display. It lives in the status area.

When one output is unplugged, the other plays on, and when it comes back both
play again. Setups that are saved can start by themselves. However it ends,
the outputs that were in use before are put back.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What the windows load by name.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qml6-module-qtqml, qml6-module-qtqml-models, qml6-module-qtqml-workerscript, \
qml6-module-qtquick, qml6-module-qtquick-templates, qml6-module-qtquick-window")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "pipewire, wireplumber, fonts-inter, qt6-wayland")
include(CPack)
