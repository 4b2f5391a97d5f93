# `cpack` in the build directory makes the Debian package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vcam-shadingutil)
set(CPACK_PACKAGE_CONTACT "vcam_shadingutil maintainers <maintainers@users.noreply.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "lens-shading utilities of a phone camera, with a phone to play on a desk")
set(CPACK_PACKAGE_DESCRIPTION
"The shading library serves the lens-shading stage of a camera HAL: calibration
data, samples of the optical stabiliser, and one lens position per frame.
.
This package has the library, its headers, the played platform that stands in
for a phone, and shadingctl, which plays recordings to the library and shows
why the shading follows the lens in a frame, or does not.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_SOURCE_DIR}/packaging/triggers)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${PLATFORM_DIRECTORY})
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/packaging/finish-deb.cmake)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
