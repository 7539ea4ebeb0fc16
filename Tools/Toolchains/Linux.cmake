# The presets' compiler on Linux, unless -DCMAKE_CXX_COMPILER=… names another of clang's family.
if(NOT CMAKE_C_COMPILER)
  set(CMAKE_C_COMPILER clang-19)
endif()
if(NOT CMAKE_CXX_COMPILER)
  set(CMAKE_CXX_COMPILER clang++-19)
endif()
