# The presets' compiler on macOS: Apple's, whatever else is first on the PATH, unless -DCMAKE_CXX_COMPILER=… names another.
if(NOT CMAKE_C_COMPILER)
  set(CMAKE_C_COMPILER /usr/bin/clang)
endif()
if(NOT CMAKE_CXX_COMPILER)
  set(CMAKE_CXX_COMPILER /usr/bin/clang++)
endif()
