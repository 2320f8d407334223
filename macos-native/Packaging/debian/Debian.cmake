# nelo_compressed(SOURCE NAME DESTINATION): configures a text and installs it as NAME.gz, as Debian wants manuals and changes.
function(nelo_compressed source name destination)
    set(text ${CMAKE_CURRENT_BINARY_DIR}/${name})
    configure_file(${source} ${text} @ONLY)
    add_custom_command(OUTPUT ${text}.gz COMMAND gzip -9nc ${text} > ${text}.gz DEPENDS ${text} VERBATIM)
    add_custom_target(nelo_${name}_gz ALL DEPENDS ${text}.gz)
    install(FILES ${text}.gz DESTINATION ${destination})
endfunction()

set(id example.nelo.NeloMenuBar)
configure_file(${id}.metainfo.xml.in ${id}.metainfo.xml @ONLY)
install(FILES ${id}.desktop DESTINATION share/applications)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${id}.metainfo.xml DESTINATION share/metainfo)
install(FILES icons/${id}.svg DESTINATION share/icons/hicolor/scalable/apps)
foreach(side 16 22 24 32 48 64 128 256 512)
    install(FILES icons/${side}.png DESTINATION share/icons/hicolor/${side}x${side}/apps RENAME ${id}.png)
endforeach()
nelo_compressed(NeloMenuBar.1.in NeloMenuBar.1 share/man/man1)
nelo_compressed(debian/changelog changelog share/doc/nelo)
install(FILES debian/copyright DESTINATION share/doc/nelo)
install(DIRECTORY ../../app DESTINATION share/nelo FILES_MATCHING PATTERN "*.py" PATTERN "tests" EXCLUDE
    PATTERN "__pycache__" EXCLUDE)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "python3:any (>= 3.9), ca-certificates")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-noto-cjk, qt6-wayland, python3-json5, python3-yaml, python3-tomlkit")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "gnome-shell-extension-appindicator") # GNOME shows no status item without it
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Nelo is an item in the status area whose menu opens a chat with cloud models,
a console for the OpenClaw, Codex and Kimi agents on this machine, and the
settings.")
set(scripts ${CMAKE_CURRENT_SOURCE_DIR}/debian)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${scripts}/postinst ${scripts}/prerm ${scripts}/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
