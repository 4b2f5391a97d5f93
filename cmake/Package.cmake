# Debian packages, one for each component: `cmake --workflow --preset debian`. That preset installs to /usr, where
# libraries lie in the directory of their processor.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_NAME vcam-shadingutil)
set(CPACK_PACKAGE_CONTACT "vcam_shadingutil maintainers <maintainers@users.noreply.example>")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${PLATFORM_DIRECTORY}
    ${PROJECT_BINARY_DIR}/capture)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/finish-deb.cmake)
set(CPACK_VERBATIM_VARIABLES ON)

# package(COMPONENT NAME SECTION SUMMARY TEXT [NEEDED_COMPONENT...])
macro(package component name section summary text)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${text}")
  set(CPACK_COMPONENT_${key}_DEPENDS ${ARGN})
  list(APPEND CPACK_COMPONENTS_ALL ${component})
endmacro()
package(library libvcam-shadingutil libs "lens-shading utilities of a phone camera"
"The library serves the lens-shading stage of a camera HAL: calibration data,
samples of the optical stabiliser, and one lens position per frame." desktop)
package(development libvcam-shadingutil-dev libdevel "lens-shading utilities of a phone camera (development files)"
"Headers, a CMake package and a pkg-config file, for hosts of the library and
for those that play the device on a desk." library desktop)
package(desktop vcam-shadingutil-desktop libs "played phone for the lens-shading utilities of a camera"
"The phone's libraries that the shading library calls, played on a desk.")
package(tools vcam-shadingutil-tools utils "judge the lens shading of a phone camera"
"shadingctl plays recordings to the shading library and shows why the shading
follows the lens in a frame, or does not; two taps record a host's session." library)
package(python python3-shadingctl python "judge the lens shading of a phone camera (Python module)"
"Results of shadingctl as pandas tables, and recordings made of tables." tools)
package(documentation vcam-shadingutil-doc doc "lens-shading utilities of a phone camera (documentation)"
"What the library computes, the tool's files and outputs, and how to come from a
desk into a phone.")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.9), python3-pandas")
include(CPack)
