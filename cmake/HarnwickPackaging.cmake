# Debian package of the application component. Library dependencies are
# derived by dpkg-shlibdeps from what the program links; zip and unzip are
# run, not linked, and Qt loads the SQLite and PostgreSQL drivers of the
# production store as plugins at run time, so those are named here.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME harnwick)
set(CPACK_PACKAGE_VENDOR Kelmara)
set(CPACK_PACKAGE_CONTACT "Kelmara <support@kelmara.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "run device jobs on many debug adapters at once")
set(CPACK_PACKAGE_DESCRIPTION
    "Harnwick runs the Lumenar Corvane command-line tool on many devices in\n\
parallel. It finds debug adapters attached over USB or reachable over IP,\n\
composes an ordered job of actions and runs it on every checked device.")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://www.kelmara.example/harnwick")
set(CPACK_STRIP_FILES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL application)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEBIAN_PACKAGE_NAME harnwick)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "zip, unzip, libqt5sql5-sqlite, libqt5sql5-psql")
# A cross build packages for the target: the toolchain file names its Debian
# architecture, and dpkg-shlibdeps looks for the linked libraries in the
# sysroot (scripts/cross-armhf gives it the sysroot's package database).
if(CMAKE_CROSSCOMPILING)
    if(NOT HARNWICK_DEBIAN_ARCHITECTURE)
        message(FATAL_ERROR "The toolchain file must set HARNWICK_DEBIAN_ARCHITECTURE for the package")
    endif()
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${HARNWICK_DEBIAN_ARCHITECTURE})
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
        ${CMAKE_SYSROOT}/lib/${CMAKE_LIBRARY_ARCHITECTURE}
        ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()
# Qt's own dialogs and buttons in the user's language.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qttranslations5-l10n")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)

include(CPack)
