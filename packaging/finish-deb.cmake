# Run by cpack between installing and packing: what Debian asks for and a plain installation does not have. The time of
# everything is SOURCE_DATE_EPOCH where that is set, so that a package can be made twice with the same bytes.
foreach(tool dpkg-shlibdeps file)
  find_program(found ${tool} NO_CACHE)
  if(NOT found)
    message(FATAL_ERROR "packages: expected ${tool}, found none (apt-get install dpkg-dev file)")
  endif()
  unset(found)
endforeach()
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(seconds $ENV{SOURCE_DATE_EPOCH})
else()
  string(TIMESTAMP seconds "%s" UTC)
endif()
set(ENV{SOURCE_DATE_EPOCH} ${seconds})
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)

set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} key)
  set(package ${CPACK_DEBIAN_${key}_PACKAGE_NAME})
  set(documentation ${root}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}/share/doc/${package})
  file(COPY ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${documentation}
       FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  file(WRITE ${documentation}/changelog.Debian
"${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Packaged by cpack from the release's sources.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
endforeach()
set(share ${root}/tools${CPACK_PACKAGING_INSTALL_PREFIX}/share)
file(RENAME ${share}/zsh/site-functions ${share}/zsh/vendor-completions)
file(GLOB compressed ${share}/man/man1/*.1 ${root}/*${CPACK_PACKAGING_INSTALL_PREFIX}/share/doc/*/changelog.Debian)
execute_process(COMMAND gzip -9n ${compressed} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND find ${root} -exec touch --no-dereference --date=@${seconds} {} + COMMAND_ERROR_IS_FATAL ANY)
