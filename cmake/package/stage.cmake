# Run by cpack between installing into its staging folder and packing that: adds what only a Debian package has.
set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share)
set(documents ${share}/doc/m2mclientmanager)

configure_file(${CPACK_M2M_PACKAGE_FILES}/copyright ${documents}/copyright COPYONLY)
configure_file(${CPACK_M2M_PACKAGE_FILES}/changelog ${documents}/changelog COPYONLY)

# -n keeps the time of the build out, so that the same sources give the same package.
file(GLOB pages ${share}/man/man*/*.[1-9])
execute_process(COMMAND gzip -9nf ${documents}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)

# dpkg-shlibdeps learns of libraries for another machine as if they were made together with this package.
if(CPACK_M2M_LIBRARY_PACKAGES)
    file(GLOB packages ${CPACK_M2M_LIBRARY_PACKAGES}/*)
    foreach(package IN LISTS packages)
        cmake_path(GET package FILENAME name)
        file(MAKE_DIRECTORY ${CPACK_TEMPORARY_DIRECTORY}/debian)
        file(CREATE_LINK ${package} ${CPACK_TEMPORARY_DIRECTORY}/debian/${name} SYMBOLIC)
    endforeach()
endif()
