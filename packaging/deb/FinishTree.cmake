# Runs inside cpack, on the tree that becomes the package: what Debian's policy wants otherwise than
# other systems do.
set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share)
set(documentation ${share}/doc/velmoran)

file(COPY ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${documentation})
# Every system of Debian's has it.
file(REMOVE ${documentation}/LICENSE)

file(RENAME ${documentation}/CHANGELOG.md ${documentation}/changelog)
file(ARCHIVE_CREATE OUTPUT ${documentation}/changelog.gz PATHS ${documentation}/changelog FORMAT raw
    COMPRESSION GZip COMPRESSION_LEVEL 9)
file(REMOVE ${documentation}/changelog)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(entry ${CPACK_TOPLEVEL_DIRECTORY}/changelog.Debian)
file(WRITE ${entry}
"velmoran (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Built from the sources of version ${CPACK_PACKAGE_VERSION}; what is new stands in
    changelog.gz.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
file(ARCHIVE_CREATE OUTPUT ${documentation}/changelog.Debian.gz PATHS ${entry} FORMAT raw COMPRESSION GZip
    COMPRESSION_LEVEL 9)

file(MAKE_DIRECTORY ${share}/zsh)
file(RENAME ${share}/zsh/site-functions ${share}/zsh/vendor-completions)

file(GLOB_RECURSE files LIST_DIRECTORIES true ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/*)
foreach(file IN LISTS files)
    if(IS_DIRECTORY ${file} OR file MATCHES "/bin/|/libexec/")
        set(rights OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    else()
        set(rights OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    endif()
    file(CHMOD ${file} PERMISSIONS ${rights})
endforeach()
