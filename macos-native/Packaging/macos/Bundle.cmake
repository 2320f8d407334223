# The files of the application bundle besides the program, and the disk image with the bundle.
find_program(NELO_ICONUTIL iconutil REQUIRED)
find_program(NELO_MACDEPLOYQT macdeployqt HINTS ${QT6_INSTALL_PREFIX}/${QT6_INSTALL_BINS} REQUIRED)

set(iconset ${CMAKE_CURRENT_BINARY_DIR}/Nelo.iconset)
foreach(side 16 32 128 256 512)
    configure_file(icons/${side}.png ${iconset}/icon_${side}x${side}.png COPYONLY)
endforeach()
foreach(side 16 32 128 256)
    math(EXPR double "${side} * 2")
    configure_file(icons/${double}.png ${iconset}/icon_${side}x${side}@2x.png COPYONLY)
endforeach()
set(icons ${CMAKE_CURRENT_BINARY_DIR}/Nelo.icns)
add_custom_command(OUTPUT ${icons} COMMAND ${NELO_ICONUTIL} --convert icns --output ${icons} ${iconset} VERBATIM)
add_custom_target(nelo_icons ALL DEPENDS ${icons})

set(contents NeloMenuBar.app/Contents)
install(FILES ${icons} DESTINATION ${contents}/Resources)
install(DIRECTORY ../../app DESTINATION ${contents}/Resources FILES_MATCHING PATTERN "*.py" PATTERN "tests" EXCLUDE
    PATTERN "__pycache__" EXCLUDE)

# The last step copies the libraries into the bundle, also those that only the plugin uses, and signs the bundle for this
# machine.
install(CODE "
    set(bundle \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/NeloMenuBar.app\")
    execute_process(
        COMMAND \"${NELO_MACDEPLOYQT}\" \"\${bundle}\"
            \"-executable=\${bundle}/Contents/lib/nelo/nelo_chat_client.so\" -codesign=-
        COMMAND_ERROR_IS_FATAL ANY)")

set(CPACK_GENERATOR DragNDrop)
set(CPACK_PACKAGE_FILE_NAME "Nelo-${PROJECT_VERSION}")
set(CPACK_DMG_VOLUME_NAME "Nelo")
