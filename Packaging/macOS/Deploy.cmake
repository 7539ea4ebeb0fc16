# Makes an installed Velto.app stand alone: libraries go into it, it is checked that it needs no others, and all is signed
# again. Run by cmake --install and cpack, after the program is in its place.
cmake_policy(VERSION 3.25)
set(bundle "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/Velto.app")
set(contents "${bundle}/Contents")

foreach(tool MACDEPLOYQT CODESIGN)
  if(NOT VELTO_${tool})
    string(TOLOWER ${tool} name)
    message(FATAL_ERROR "Velto.app can't be packaged: ${name} is missing on this machine.")
  endif()
endforeach()

# Every file in the bundle that the system loads code from.
function(find_programs result)
  file(GLOB_RECURSE files "${contents}/MacOS/*" "${contents}/PlugIns/*.dylib" "${contents}/Frameworks/*.dylib")
  file(GLOB frameworks "${contents}/Frameworks/*.framework")
  foreach(framework ${frameworks})
    get_filename_component(name ${framework} NAME_WE)
    file(REAL_PATH "${framework}/${name}" program)
    list(APPEND files "${program}")
  endforeach()
  set(programs)
  foreach(file ${files})
    if(NOT IS_SYMLINK "${file}")
      list(APPEND programs "${file}")
    endif()
  endforeach()
  set(${result} ${programs} PARENT_SCOPE)
endfunction()

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(sign path)
  set(options --force --options=runtime --sign ${VELTO_CODESIGN_IDENTITY})
  if(NOT VELTO_CODESIGN_IDENTITY STREQUAL "-")
    list(APPEND options --timestamp) # notarisation asks for it
  endif()
  run(${VELTO_CODESIGN} ${options} ${ARGN} ${path})
endfunction()

run(${VELTO_MACDEPLOYQT} ${bundle} -qmldir=${VELTO_VIEWS} -libpath=${VELTO_QT_LIBRARIES} -verbose=1)

set(oldest_system 0)
find_programs(programs)
foreach(program ${programs})
  execute_process(COMMAND otool -l ${program} OUTPUT_VARIABLE commands COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "LC_(LOAD|LOAD_WEAK|REEXPORT)_DYLIB\n[^\n]*\n *name [^\n]*" libraries "${commands}")
  foreach(library ${libraries})
    string(REGEX REPLACE ".* name (.*) \\(offset [0-9]+\\)$" "\\1" path "${library}")
    string(REGEX REPLACE "^@(rpath|executable_path/../Frameworks)/" "${contents}/Frameworks/" path "${path}")
    cmake_path(IS_PREFIX contents "${path}" is_inside)
    if(NOT path MATCHES "^(/usr/lib/|/System/Library/|@loader_path/)" AND NOT (is_inside AND EXISTS "${path}"))
      message(FATAL_ERROR "Velto.app would not run on another Mac: ${program} needs ${path}.")
    endif()
  endforeach()
  # Where it was linked is no place to look for libraries on another machine.
  string(REGEX MATCHALL "LC_RPATH\n[^\n]*\n *path /[^\n]*" places "${commands}")
  list(REMOVE_DUPLICATES places) # each architecture has the same
  foreach(place ${places})
    string(REGEX REPLACE ".* path (.*) \\(offset [0-9]+\\)$" "\\1" path "${place}")
    run(install_name_tool -delete_rpath ${path} ${program})
  endforeach()
  string(REGEX MATCHALL "minos [0-9.]+" systems "${commands}")
  foreach(system ${systems})
    string(REPLACE "minos " "" system ${system})
    if(system VERSION_GREATER oldest_system)
      set(oldest_system ${system})
    endif()
  endforeach()
endforeach()

# A library that was built for a later system makes Velto one for that system.
run(plutil -replace LSMinimumSystemVersion -string ${oldest_system} ${contents}/Info.plist)
message(STATUS "Velto.app runs on macOS ${oldest_system} and later.")

# From the inside out: a signature covers those within.
list(REMOVE_ITEM programs "${contents}/MacOS/Velto")
foreach(program ${programs})
  sign(${program})
endforeach()
if(VELTO_CODESIGN_IDENTITY STREQUAL "-")
  sign(${bundle} --entitlements ${VELTO_ENTITLEMENTS})
else()
  sign(${bundle}) # all is of one signer now, and nothing has to be allowed
endif()
run(${VELTO_CODESIGN} --verify --deep --strict ${bundle})
