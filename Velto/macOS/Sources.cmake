# What macOS adds to the libraries of every platform.
set(VELTO_PLATFORM_LIBRARIES velto_macos_services)
set(VELTO_PLATFORM_DESKTOP_SOURCES
  macOS/MacApplication.cpp macOS/MacApplication.h
  macOS/MenuBarStatusArea.cpp macOS/MenuBarStatusArea.h
  macOS/SystemSymbolImage.cpp)
set(VELTO_PLATFORM_WINDOWS_SOURCES
  macOS/MacDesktopAppearance.cpp)
