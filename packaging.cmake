# What is installed besides the programs, and the Debian package: `cmake --build build/release --target package`.

# Debian wants these compressed; the same bytes every time.
find_program(GZIP gzip REQUIRED)
function(install_compressed file destination)
    get_filename_component(name "${file}" NAME)
    set(compressed "${CMAKE_BINARY_DIR}/${name}.gz")
    add_custom_command(OUTPUT "${compressed}" DEPENDS "${CMAKE_SOURCE_DIR}/${file}"
                       COMMAND sh -c "\"$1\" -9nc \"$2\" > \"$3\"" sh "${GZIP}" "${CMAKE_SOURCE_DIR}/${file}" "${compressed}"
                       VERBATIM)
    add_custom_target(compress_${name} ALL DEPENDS "${compressed}")
    install(FILES "${compressed}" DESTINATION "${destination}")
endfunction()

if(TARGET prattlebug-archiver)
    install(FILES resources/prattlebug-archiver.desktop DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
    install(FILES resources/com.velmoria.prattlebug.metainfo.xml DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")
    install(FILES resources/icons/prattlebug-archiver.svg DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps")
    foreach(size IN ITEMS 16 22 24 32 48 64 128 256)
        install(FILES resources/icons/${size}/prattlebug-archiver.png
                DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps")
    endforeach()
    install_compressed(docs/man/prattlebug-archiver.1 "${CMAKE_INSTALL_MANDIR}/man1")
endif()

install_compressed(docs/man/prattlebug.1 "${CMAKE_INSTALL_MANDIR}/man1")
install_compressed(resources/debian/changelog "${CMAKE_INSTALL_DOCDIR}")
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY docs/ DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs" FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.svg"
        PATTERN man EXCLUDE)
install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}" RENAME copyright)

install(FILES resources/completions/prattlebug.bash RENAME prattlebug
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
install(FILES resources/completions/_prattlebug DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions")
install(FILES resources/completions/prattlebug.fish DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "The Prattlebug developers")
set(CPACK_PACKAGE_CONTACT "The Prattlebug developers <prattlebug@prattlebug.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "archiver of iChat transcripts")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Reads the chat transcripts that iChat kept, of both its formats, and writes
every chat as one mail message into a single mbox file that any mail program
imports. Keeps galleries of all links and attached files, and statistics.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://prattlebug.example/")
# Linked libraries are found out; these are loaded when they are there: pictures of more formats are measured, the
# window's icon is drawn.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-image-formats-plugins, libqt6svg6, tzdata")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "mutt | thunderbird")
include(CPack)
