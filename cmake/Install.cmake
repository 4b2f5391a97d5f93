# What `cmake --install` puts where. Everything finds everything else by its place beside it, so the tree can be moved.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_BINDIR}" OR CMAKE_INSTALL_BINDIR MATCHES "/")
  message(FATAL_ERROR "CMAKE_INSTALL_LIBDIR and _BINDIR: expected directories inside of the prefix, and of one level for "
                      "programs; found ${CMAKE_INSTALL_LIBDIR} and ${CMAKE_INSTALL_BINDIR}")
endif()
include(CMakePackageConfigHelpers)
set(headers ${CMAKE_INSTALL_INCLUDEDIR}/vcam_shadingutil)
set(package_files ${CMAKE_INSTALL_LIBDIR}/cmake/VcamShadingUtil)

# The build tree has the same run paths: installing changes no byte.
set(platform_libraries desktop_device platform_log platform_vlog platform_utils platform_hwconfiguration
    platform_sensorprovider platform_halsensor)
set_target_properties(${platform_libraries} vcam_shadingutil PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
set_target_properties(${platform_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(vcam_shadingutil PROPERTIES INSTALL_RPATH "$ORIGIN/${PLATFORM_DIRECTORY}")
foreach(target vcam_shadingutil desktop_device)
  target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${headers}>)
  target_compile_features(${target} INTERFACE cxx_std_17)
endforeach()
install(TARGETS vcam_shadingutil EXPORT VcamShadingUtil DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS ${platform_libraries} EXPORT VcamShadingUtil
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/${PLATFORM_DIRECTORY})

# The chief header and what it includes; and the played device, for a host that is tried on a desk.
foreach(header lsc/VeyraShadingUtil.h lsc/FrameInput.h lsc/Globals.h lsc/SensorIndex.h lsc/base/FrameQueue.h
        lsc/base/Mutex.h lsc/base/SampleRange.h platform/SensorProvider.h platform/desktop/Device.h)
  cmake_path(GET header PARENT_PATH directory)
  install(FILES ${header} DESTINATION ${headers}/${directory})
endforeach()

# find_package(VcamShadingUtil) and pkg-config.
install(EXPORT VcamShadingUtil NAMESPACE VcamShadingUtil:: FILE VcamShadingUtilConfig.cmake DESTINATION ${package_files})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/VcamShadingUtilConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/VcamShadingUtilConfigVersion.cmake DESTINATION ${package_files})
file(RELATIVE_PATH to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(packaging/vcam_shadingutil.pc.in ${CMAKE_BINARY_DIR}/vcam_shadingutil.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/vcam_shadingutil.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The tool with its manual pages and completions, and the import beside it.
if(TARGET shadingctl)
  set_target_properties(shadingctl PROPERTIES BUILD_WITH_INSTALL_RPATH ON
    INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}/${PLATFORM_DIRECTORY}")
  set_target_properties(shadingctl_import PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
  install(TARGETS shadingctl shadingctl_import DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(DIRECTORY ${CMAKE_BINARY_DIR}/pages/man1 DESTINATION ${CMAKE_INSTALL_MANDIR})
  install(FILES ${CMAKE_BINARY_DIR}/pages/shadingctl DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES ${CMAKE_BINARY_DIR}/pages/_shadingctl DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
endif()

set(documentation ${CMAKE_INSTALL_DATADIR}/doc/vcam-shadingutil)
install(FILES README.md CHANGELOG.md DESTINATION ${documentation})
install(DIRECTORY docs DESTINATION ${documentation} FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")
