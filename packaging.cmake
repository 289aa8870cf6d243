# What is installed besides the programs, and the Debian package: `cmake --build build/release --target package`.

# Debian wants these compressed; the same bytes every time.
find_program(GZIP gzip REQUIRED)
function(install_compressed file destination)
    get_filename_component(name "${file}" NAME)
    get_filename_component(file "${file}" ABSOLUTE BASE_DIR "${CMAKE_SOURCE_DIR}")
    set(compressed "${CMAKE_BINARY_DIR}/${name}.gz")
    add_custom_command(OUTPUT "${compressed}" DEPENDS "${file}"
                       COMMAND sh -c "\"$1\" -9nc \"$2\" > \"$3\"" sh "${GZIP}" "${file}" "${compressed}"
                       VERBATIM)
    add_custom_target(compress_${name} ALL DEPENDS "${compressed}")
    install(FILES "${compressed}" DESTINATION "${destination}")
endfunction()

# The completions and the manual page name the command `send` only where it is built.
set(PRATTLEBUG_OFFERED "${CMAKE_BINARY_DIR}/offered")
file(MAKE_DIRECTORY "${PRATTLEBUG_OFFERED}")
if(PRATTLEBUG_MAIL)
    set(edit "/\\(Only with\\|End of\\) send\\.$/d")
else()
    set(edit "/Only with send\\.$/,/End of send\\.$/d")
endif()
foreach(file IN ITEMS docs/man/prattlebug.1 resources/completions/prattlebug.bash resources/completions/_prattlebug
                      resources/completions/prattlebug.fish)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    get_filename_component(name "${file}" NAME)
    execute_process(COMMAND sed "${edit}" "${CMAKE_SOURCE_DIR}/${file}" OUTPUT_FILE "${PRATTLEBUG_OFFERED}/${name}"
                    COMMAND_ERROR_IS_FATAL ANY)
endforeach()

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

if(TARGET prattlebug-reader)
    install(FILES resources/prattlebug-reader.desktop DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
    install(FILES resources/prattlebug-reader-mime.xml RENAME prattlebug-reader.xml
            DESTINATION "${CMAKE_INSTALL_DATADIR}/mime/packages")
    install(FILES resources/com.velmoria.prattlebug.reader.metainfo.xml DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")
    install(FILES resources/icons/prattlebug-reader.svg DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps")
    install_compressed(docs/man/prattlebug-reader.1 "${CMAKE_INSTALL_MANDIR}/man1")
endif()

install_compressed("${PRATTLEBUG_OFFERED}/prattlebug.1" "${CMAKE_INSTALL_MANDIR}/man1")
install_compressed(resources/debian/changelog "${CMAKE_INSTALL_DOCDIR}")
# What users read; developers have the source. A test looks up the links among these files.
install(FILES resources/debian/README.md CHANGELOG.md SECURITY.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY docs/ DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs" FILES_MATCHING PATTERN "*.md" PATTERN "*.schema.json"
        PATTERN code.md EXCLUDE PATTERN measurements.md EXCLUDE PATTERN man EXCLUDE)
install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}" RENAME copyright)

install(FILES "${PRATTLEBUG_OFFERED}/prattlebug.bash" RENAME prattlebug
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
install(FILES "${PRATTLEBUG_OFFERED}/_prattlebug" DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions")
install(FILES "${PRATTLEBUG_OFFERED}/prattlebug.fish" DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")

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
