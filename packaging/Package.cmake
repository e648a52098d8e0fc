# What cpack makes a package for Debian and Ubuntu from. Its dependencies are those of the system on which
# it is built, so that each release wants a package of its own; their versions are ordered as the
# releases are.
set(system)
if(EXISTS /etc/os-release)
    file(STRINGS /etc/os-release lines REGEX "^(ID|VERSION_ID|VERSION_CODENAME)=")
    foreach(line IN LISTS lines)
        string(REGEX MATCH "^([A-Z_]+)=\"?([^\"]*)\"?$" matched "${line}")
        set(os_${CMAKE_MATCH_1} "${CMAKE_MATCH_2}")
    endforeach()
    # Debian's own form for its releases; what isn't released yet has no number.
    string(REPLACE "debian" "deb" system "~${os_ID}${os_VERSION_ID}")
    if(NOT os_VERSION_ID)
        set(system "~${os_ID}-${os_VERSION_CODENAME}")
        string(REPLACE "-" "" system "${system}")
    endif()
endif()
velmoran_build_number(build_number)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velmoran)
set(CPACK_PACKAGE_VENDOR Velmoran)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The Velmoran developers <developers@velmoran.org>" CACHE STRING
    "Who answers for the package")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Tells which app turned on the camera or the microphone")
set(CPACK_PACKAGE_DESCRIPTION
"Velmoran sits in the tray and tells which program has turned on the camera
or the microphone, at the moment it does so, with a button that stops it.
It keeps a history of what was used on this computer and sends nothing
anywhere. While the screen is locked it can write down what happens to the
computer.
.
velmoranctl does the same in a terminal, without a desktop.")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/package)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/deb/FinishTree.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
if(build_number)
    string(APPEND CPACK_PACKAGE_VERSION "+${build_number}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE "1${system}")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(VELMORAN_LAYERS)
    # They go by a private header of Qt's, which holds for one version: its library has a name for that.
    execute_process(COMMAND dpkg-query -W -f "\${Provides}\n" "libqt6core6*"
        OUTPUT_VARIABLE provided ERROR_QUIET)
    if(provided MATCHES "qt6-base-[a-z-]*abi \\(= [0-9.]+\\)")
        set(CPACK_DEBIAN_PACKAGE_DEPENDS "${CMAKE_MATCH_0}")
    endif()
endif()
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "libcanberra-pulse, libqt6svg6, qt6-wayland, sound-theme-freedesktop")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "xdg-desktop-portal")
if(VELMORAN_WEB_HOST)
    set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://${VELMORAN_WEB_HOST}/velmoran")
endif()
include(CPack)
