# What is installed, and the disk image: cpack -G DragNDrop. A copy of Velto.app that is installed or packaged stands alone.
find_package(Qt6 6.4 REQUIRED COMPONENTS Core)
find_program(VELTO_MACDEPLOYQT NAMES macdeployqt macdeployqt6 HINTS ${QT6_INSTALL_PREFIX}/bin)

install(CODE "file(REMOVE_RECURSE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/Velto.app\")") # nothing of an earlier one stays
install(TARGETS velto BUNDLE DESTINATION .)
set(settings "set(VELTO_VIEWS [[${PROJECT_SOURCE_DIR}/Velto/Views]])\n")
foreach(setting VELTO_MACDEPLOYQT VELTO_CODESIGN VELTO_CODESIGN_IDENTITY VELTO_ENTITLEMENTS)
  string(APPEND settings "set(${setting} [[${${setting}}]])\n")
endforeach()
string(APPEND settings "set(VELTO_QT_LIBRARIES [[${QT6_INSTALL_PREFIX}/${QT6_INSTALL_LIBS}]])\n")
install(CODE "${settings}")
install(SCRIPT ${CMAKE_CURRENT_LIST_DIR}/Deploy.cmake)

set(architectures ${CMAKE_OSX_ARCHITECTURES})
if(NOT architectures)
  set(architectures ${CMAKE_SYSTEM_PROCESSOR})
endif()
list(JOIN architectures "-" architectures)
set(CPACK_PACKAGE_NAME Velto)
set(CPACK_PACKAGE_VENDOR "The Velto authors")
set(CPACK_PACKAGE_FILE_NAME Velto-${PROJECT_VERSION}-${architectures})
set(CPACK_DMG_VOLUME_NAME Velto) # beside the application it shows a link to Applications
set(CPACK_STRIP_FILES ON)
include(CPack)
