# Lets "cpack" make a Debian package and a source tarball.
#
#   cpack --config build/CPackConfig.cmake -B out          hciload_1.0.0_amd64.deb
#   cpack --config build/CPackSourceConfig.cmake -B out    hciload-1.0.0.tar.gz

set(CPACK_PACKAGE_NAME hciload)
set(CPACK_PACKAGE_VENDOR "hciload maintainers")
set(CPACK_PACKAGE_CONTACT "hciload maintainers <maintainers@hciload.example>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_RESOURCE_FILE_README ${PROJECT_SOURCE_DIR}/README.md)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "bash-completion, g++, cmake")
# Folders are not writable by others, whatever the umask of the packager.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_DESCRIPTION
"hciload loads firmware, configuration data and patch sets into a controller
chip on a serial port: it erases, writes, checks, reads back and starts what it
has loaded.
.
The package contains the program, a simulated chip to try it without hardware,
and a C++ library.")
# Adapts the tree to Debian's rules before it is packed.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/DebianTree.cmake)
set(CPACK_HCILOAD_CHANGELOG ${PROJECT_SOURCE_DIR}/CHANGELOG.md)

set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME hciload-${PROJECT_VERSION})
# Whatever git does not track. One backslash is for CMake, one for the pattern.
set(CPACK_SOURCE_IGNORE_FILES
    /\\.git/ /\\.git$ "/build[^/]*/" /out/ /compile_commands\\.json$ "~$" "\\.swp$" /__pycache__/)

include(CPack)
