# CPack runs this on the tree before it is packed. "cmake --install" makes a tree for any system. Debian
# wants manual pages and changelogs compressed, a changelog in its own format, and zsh completion in
# the folder for packages.

if(NOT CPACK_GENERATOR STREQUAL "DEB")
    return()
endif()

set(share ${CPACK_TEMPORARY_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/share)

# Writes one Debian changelog entry for each version in CHANGELOG.md, newest first.
function(write_debian_changelog input output)
    file(STRINGS ${input} lines)
    set(text "")
    set(end "")
    foreach(line IN LISTS lines)
        if(line MATCHES "^## ([0-9.]+) \\(([0-9-]+)\\)$")
            set(version ${CMAKE_MATCH_1})
            execute_process(COMMAND date --utc --rfc-email --date=${CMAKE_MATCH_2}
                            OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE
                            COMMAND_ERROR_IS_FATAL ANY)
            string(APPEND text "${end}hciload (${version}) unstable; urgency=medium\n\n")
            set(end "\n -- ${CPACK_PACKAGE_CONTACT}  ${date}\n\n")
        elseif(end AND line MATCHES "^- (.*)$")
            string(APPEND text "  * ${CMAKE_MATCH_1}\n")
        elseif(end AND line MATCHES "^  (.*)$")
            string(APPEND text "    ${CMAKE_MATCH_1}\n")
        endif()
    endforeach()
    string(APPEND text "${end}")
    string(STRIP "${text}" text)
    file(WRITE ${output} "${text}\n")
endfunction()

write_debian_changelog(${CPACK_HCILOAD_CHANGELOG} ${share}/doc/hciload/changelog)
file(RENAME ${share}/zsh/site-functions ${share}/zsh/vendor-completions)

# -n: Debian wants no timestamps in the archives.
file(GLOB pages ${share}/man/man1/*.1)
execute_process(COMMAND gzip -9n ${share}/doc/hciload/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
