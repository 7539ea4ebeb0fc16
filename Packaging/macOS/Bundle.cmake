# Velto.app: what the bundle holds, and its signature. For macOS; configures elsewhere too, without icon and signature.
#
# The hardened runtime loads only libraries of the program's own signer. An ad-hoc signature has no signer, and Homebrew's
# libraries have another: Velto.entitlements allows them, and nothing else. It holds no comment because codesign takes none.
set(VELTO_CODESIGN_IDENTITY "-" CACHE STRING
  "Who signs Velto.app: - for an ad-hoc signature, or the name of a Developer ID Application certificate")
find_program(VELTO_CODESIGN codesign)
find_program(VELTO_ICONUTIL iconutil)
set(VELTO_BUNDLE_FILES ${CMAKE_CURRENT_LIST_DIR})
set(VELTO_ENTITLEMENTS ${VELTO_BUNDLE_FILES}/Velto.entitlements)

# velto_make_bundle(TARGET): makes the executable TARGET into Velto.app, in the folder that it is built in.
function(velto_make_bundle target)
  configure_file(${VELTO_BUNDLE_FILES}/Info.plist.in Info.plist @ONLY)
  set_target_properties(${target} PROPERTIES OUTPUT_NAME Velto MACOSX_BUNDLE ON
    MACOSX_BUNDLE_INFO_PLIST ${CMAKE_CURRENT_BINARY_DIR}/Info.plist
    LINK_DEPENDS "${CMAKE_CURRENT_BINARY_DIR}/Info.plist;${VELTO_ENTITLEMENTS}"
    # Packaging resolves libraries by the paths they were linked with, and then removes those paths.
    INSTALL_RPATH "@executable_path/../Frameworks" INSTALL_RPATH_USE_LINK_PATH ON)
  velto_add_icon(${target})
  velto_sign(${target})
endfunction()

function(velto_add_icon target)
  if(NOT VELTO_ICONUTIL)
    velto_say_after_build(${target} "Velto.app has no icon: iconutil, a part of macOS, is missing.")
    return()
  endif()
  set(drawings ${VELTO_BUNDLE_FILES}/com.corlent.velto.macos.svg ${VELTO_BUNDLE_FILES}/com.corlent.velto.macos-small.svg)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/Velto.iconset)
  set(icon ${CMAKE_CURRENT_BINARY_DIR}/Velto.icns)
  add_custom_command(OUTPUT ${icon} DEPENDS velto-icon-set ${drawings}
    COMMAND velto-icon-set ${drawings} ${folder}
    COMMAND ${VELTO_ICONUTIL} --convert icns --output ${icon} ${folder}
    COMMENT "Drawing Velto.icns" VERBATIM)
  target_sources(${target} PRIVATE ${icon})
  set_source_files_properties(${icon} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${icon}) # the signature covers it
endfunction()

# A debugger can't attach to the hardened runtime: builds for debugging go without.
function(velto_sign target)
  if(NOT VELTO_CODESIGN)
    velto_say_after_build(${target} "Velto.app is not signed: codesign, a part of macOS, is missing.")
    return()
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${VELTO_CODESIGN} --force --sign ${VELTO_CODESIGN_IDENTITY} --timestamp=none
      "$<$<NOT:$<CONFIG:Debug>>:--options=runtime>" --entitlements ${VELTO_ENTITLEMENTS} $<TARGET_BUNDLE_DIR:${target}>
    COMMENT "Signing Velto.app" COMMAND_EXPAND_LISTS VERBATIM)
endfunction()

function(velto_say_after_build target text)
  add_custom_command(TARGET ${target} POST_BUILD COMMAND ${CMAKE_COMMAND} -E echo ${text} VERBATIM)
endfunction()
