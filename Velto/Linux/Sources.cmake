# What Linux adds to the libraries of every platform.
find_package(Qt6 6.4 REQUIRED COMPONENTS DBus)
find_package(PkgConfig REQUIRED)
pkg_check_modules(xcb REQUIRED IMPORTED_TARGET xcb)
set(VELTO_PLATFORM_LIBRARIES Qt6::DBus PkgConfig::xcb)

set(VELTO_PLATFORM_DESKTOP_SOURCES
  Linux/ClickPlace.cpp Linux/ClickPlace.h
  Linux/DesktopStatusArea.cpp Linux/DesktopStatusArea.h
  Linux/DisplayChoice.cpp Linux/DisplayChoice.h
  Linux/LinuxApplication.cpp Linux/LinuxApplication.h
  Linux/NotifierStatusItem.cpp Linux/NotifierStatusItem.h
  Linux/NotifierStatusItemTypes.cpp Linux/NotifierStatusItemTypes.h
  Linux/StatusItemMenu.cpp Linux/StatusItemMenu.h
  Linux/SystemSymbolImage.cpp
  Linux/TrayStatusItem.cpp Linux/TrayStatusItem.h
  Linux/TrayToolTip.cpp Linux/TrayToolTip.h
  Linux/X11Desktop.cpp Linux/X11Desktop.h
  Linux/X11Settings.cpp Linux/X11Settings.h
  Linux/X11SystemTray.cpp Linux/X11SystemTray.h)
set(VELTO_PLATFORM_WINDOWS_SOURCES
  Linux/PortalAppearance.cpp Linux/PortalAppearance.h)
