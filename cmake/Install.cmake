# What `cmake --install` puts where, in components (`--component NAME`): library, development, desktop (the played
# platform), tools, python, documentation. All but the Python module find the rest by its place beside them, so the tree
# can be moved.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_BINDIR}" OR CMAKE_INSTALL_BINDIR MATCHES "/")
  message(FATAL_ERROR "CMAKE_INSTALL_LIBDIR and _BINDIR: expected directories inside of the prefix, and of one level for "
                      "programs; found ${CMAKE_INSTALL_LIBDIR} and ${CMAKE_INSTALL_BINDIR}")
endif()
include(CMakePackageConfigHelpers)
set(platform_directory ${CMAKE_INSTALL_LIBDIR}/${PLATFORM_DIRECTORY})
set(package_files ${CMAKE_INSTALL_LIBDIR}/cmake/VcamShadingUtil)

install(TARGETS vcam_shadingutil EXPORT VcamShadingUtil DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
install(TARGETS desktop_device platform_log platform_vlog platform_utils platform_hwconfiguration platform_sensorprovider
        platform_halsensor EXPORT VcamShadingUtil DESTINATION ${platform_directory} COMPONENT desktop)

# The chief header and what it includes; and the played device with its calibration, for a host that is tried on a desk.
foreach(header lsc/VeyraShadingUtil.h lsc/FrameInput.h lsc/Globals.h lsc/SensorIndex.h lsc/base/FrameQueue.h
        lsc/base/Mutex.h lsc/base/SampleRange.h platform/SensorProvider.h platform/desktop/Device.h
        platform/desktop/BuiltInCalibration.h platform/desktop/CalibrationMount.h platform/desktop/DeviceFile.h)
  cmake_path(GET header PARENT_PATH directory)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vcam_shadingutil/${directory} COMPONENT development)
endforeach()

# find_package(VcamShadingUtil) and pkg-config.
install(EXPORT VcamShadingUtil NAMESPACE VcamShadingUtil:: FILE VcamShadingUtilConfig.cmake DESTINATION ${package_files}
        COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VcamShadingUtilConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VcamShadingUtilConfigVersion.cmake DESTINATION ${package_files}
        COMPONENT development)
file(RELATIVE_PATH to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(packaging/vcam_shadingutil.pc.in ${PROJECT_BINARY_DIR}/vcam_shadingutil.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vcam_shadingutil.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

# The taps with their script; the tool with its manual pages and completions, and the import beside it.
install(TARGETS vcam_shadingtap vcam_providertap DESTINATION ${platform_directory}/taps COMPONENT tools)
install(PROGRAMS capture/tap DESTINATION ${platform_directory}/taps COMPONENT tools)
if(TARGET shadingctl)
  install(TARGETS shadingctl shadingctl_import DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/pages/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT tools)
  install(FILES ${PROJECT_BINARY_DIR}/pages/shadingctl
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
  install(FILES ${PROJECT_BINARY_DIR}/pages/_shadingctl DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
          COMPONENT tools)
endif()

# The Python module, where Debian's Python looks; it finds the tool in PATH.
install(DIRECTORY python/shadingctl DESTINATION lib/python3/dist-packages COMPONENT python FILES_MATCHING PATTERN "*.py"
        PATTERN __pycache__ EXCLUDE)

set(documentation ${CMAKE_INSTALL_DATADIR}/doc/vcam-shadingutil)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${documentation} COMPONENT documentation)
install(DIRECTORY docs DESTINATION ${documentation} COMPONENT documentation
        FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")
