# Debian packages: cpack in a build folder of the release preset, or scripts/package.sh for all of it. The program goes to
# /usr/bin; the core starts it as /usr/local/bin/m2mclientmanager, a link that the package makes when it is installed
# (package/postinst says why). Included last: what is installed by then is what is packaged.
include(GNUInstallDirs)

install(FILES README.md ARCHITECTURE.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/m2mclientmanager)
install(FILES docs/protocol.md docs/limits.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/m2mclientmanager/docs)
install(DIRECTORY docs/schema DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/m2mclientmanager/docs FILES_MATCHING PATTERN *.json)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME m2mclientmanager)
set(CPACK_PACKAGE_CONTACT "m2mclientmanager developers <developers@m2mclientmanager.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "machine-to-machine link of a home-automation controller")
set(CPACK_PACKAGE_DESCRIPTION
    "One process of m2mclientmanager serves one neighbour, another controller that
lists, reads and drives objects of this home over TLS and hears of their
changes. The controller's core service starts it.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/package/stage.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/package/postinst
                                       ${CMAKE_CURRENT_LIST_DIR}/package/prerm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_CROSSCOMPILING)
    # The architecture of the machine that packages is taken otherwise.
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
    set(CPACK_M2M_LIBRARY_PACKAGES ${CMAKE_SOURCE_DIR}/build/armhf/packages)
endif()
set(CPACK_M2M_PACKAGE_FILES ${CMAKE_CURRENT_LIST_DIR}/package)
include(CPack)
