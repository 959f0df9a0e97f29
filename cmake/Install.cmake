# What "cmake --install" installs below the prefix.

include(CMakePackageConfigHelpers)

set(HCILOAD_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/hciload)

install(TARGETS hciload chipsim hciimage RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# The library. Headers keep their paths below src/, so that they can include each other.
install(TARGETS libhciload EXPORT hciloadTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/hciload FILES_MATCHING PATTERN "*.h")
install(EXPORT hciloadTargets NAMESPACE hciload:: DESTINATION ${HCILOAD_CMAKE_DIR})
configure_package_config_file(cmake/hciloadConfig.cmake.in
    ${PROJECT_BINARY_DIR}/hciloadConfig.cmake INSTALL_DESTINATION ${HCILOAD_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/hciloadConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/hciloadConfig.cmake
              ${PROJECT_BINARY_DIR}/hciloadConfigVersion.cmake
        DESTINATION ${HCILOAD_CMAKE_DIR})

install(FILES docs/man/hciload.1 docs/man/chipsim.1 docs/man/hciimage.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

foreach(program hciload chipsim hciimage)
    install(FILES completion/${program}.bash
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${program})
    install(FILES completion/_${program} DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
endforeach()

install(FILES packaging/70-hciload.rules DESTINATION lib/udev/rules.d)

# The pages for users. README, ARCHITECTURE and the pages on performance and drivers are about the source tree.
file(GLOB HCILOAD_DOCS CONFIGURE_DEPENDS docs/*.md)
list(REMOVE_ITEM HCILOAD_DOCS ${PROJECT_SOURCE_DIR}/docs/performance.md ${PROJECT_SOURCE_DIR}/docs/drivers.md)
install(FILES ${HCILOAD_DOCS} docs/map.svg DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
install(FILES CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME copyright)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR})
