# Packages: one for each component that is installed. `cpack` makes .deb files, `cpack -G RPM` .rpm files.
file(STRINGS packaging/changelog latest LIMIT_COUNT 1)
if(NOT latest MATCHES "^orvlog \\(${PROJECT_VERSION}\\) ")
  message(FATAL_ERROR "packaging/changelog does not begin with version ${PROJECT_VERSION}")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvlog)
set(CPACK_PACKAGE_VENDOR "orvlog maintainers")
set(CPACK_PACKAGE_CONTACT "orvlog maintainers <maintainers@orvlog.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL orvlog libimltext1 libimltext-dev orvlog-simulator)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# What is needed of the C library is read off the binaries. The maker's libraries come in no package, and the
# simulator's in their place add no dependency.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/simulator)

set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_LICENSE "All rights reserved")
set(CPACK_RPM_PACKAGE_RELOCATABLE OFF)
# Folders that are the system's, beside those that CPack knows.
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
    /usr/sbin
    /usr/lib64/cmake
    /usr/lib64/pkgconfig
    /usr/share/man
    /usr/share/man/man8
    /usr/share/bash-completion
    /usr/share/bash-completion/completions)

# orvlog_package(COMPONENT DEBIAN_SECTION SUMMARY DESCRIPTION)
macro(orvlog_package component section summary description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
  set(CPACK_RPM_${upper}_PACKAGE_NAME ${component})
  set(CPACK_RPM_${upper}_PACKAGE_SUMMARY "${summary}")
  set(CPACK_RPM_${upper}_PACKAGE_DESCRIPTION "${description}")
endmacro()

orvlog_package(orvlog admin "list and annotate a server's Integrated Management Log"
"orvlog prints the firmware's log of events with a line of English for each
entry, adds maintenance notes to it, prints the temperature, fan and power
reports of the health driver, controls the automatic server recovery watchdog
and shows the PCI interrupt routing table.
.
It needs the health driver of the server's maker and the two libraries that
come with it, libkelmintrfc64.so.3 and liborvev64.so.1.")
set(CPACK_DEBIAN_ORVLOG_PACKAGE_SUGGESTS orvlog-simulator)
# RPM would demand the maker's libraries of a package.
set(CPACK_RPM_ORVLOG_PACKAGE_AUTOREQ OFF)
set(CPACK_RPM_ORVLOG_PACKAGE_REQUIRES glibc)

orvlog_package(libimltext1 libs "translator of Integrated Management Log records"
"libimltext turns the 240-byte records of a server's Integrated Management Log
into a line of English each. It allocates nothing, keeps no state and needs
only the C library.")
set(CPACK_DEBIAN_LIBIMLTEXT1_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/shlibs
                                                   ${PROJECT_SOURCE_DIR}/packaging/triggers)

orvlog_package(libimltext-dev libdevel "development files of the IML translator"
"libimltext turns the 240-byte records of a server's Integrated Management Log
into a line of English each.
.
This package has the static library, the headers for C and C++, the files for
pkg-config and CMake, and an example.")
set(CPACK_DEBIAN_LIBIMLTEXT-DEV_PACKAGE_DEPENDS "libimltext1 (= ${PROJECT_VERSION})")

orvlog_package(orvlog-simulator utils "simulated server for trying orvlog on any machine"
"Stand-ins for the two libraries of the server's maker that orvlog needs, a
sample server to copy, and the tool that turns servers and their logs from
readable text into what the stand-ins serve. They stay in a folder of their
own and take effect only where the loader is pointed at it.")
set(CPACK_DEBIAN_ORVLOG-SIMULATOR_PACKAGE_RECOMMENDS "orvlog, python3 (>= 3.9)")
set(CPACK_DEBIAN_ORVLOG-SIMULATOR_PACKAGE_ENHANCES orvlog)
# RPM would offer the stand-ins to whoever needs the maker's libraries.
set(CPACK_RPM_ORVLOG-SIMULATOR_PACKAGE_AUTOPROV OFF)

include(CPack)
