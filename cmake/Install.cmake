# The files that `cmake --install` installs. A component is a package. The simulator is installed only on request
# (--component orvlog-simulator), into a directory where its libraries never shadow the maker's.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
find_program(ORVLOG_GZIP gzip REQUIRED)
mark_as_advanced(ORVLOG_GZIP)

# Sets VARIABLE to DIRECTORY as an install script names it: below the prefix, unless it is absolute. The prefix is known
# only at installation, when --prefix may replace it.
function(orvlog_installed_directory variable directory)
  if(NOT IS_ABSOLUTE "${directory}")
    set(directory "\${CMAKE_INSTALL_PREFIX}/${directory}")
  endif()
  set(${variable} "${directory}" PARENT_SCOPE)
endfunction()

# Installs TEMPLATE without its .in in DIRECTORY, with the permissions MODE. VARIABLES is code that sets the variables in it.
function(orvlog_install_template template directory mode component variables)
  get_filename_component(name ${template} NAME_WLE)
  orvlog_installed_directory(directory "${directory}")
  install(CODE "
    ${variables}
    set(file \"${directory}/${name}\")
    message(STATUS \"Installing: \$ENV{DESTDIR}\${file}\")
    configure_file(\"${PROJECT_SOURCE_DIR}/${template}\" \"\$ENV{DESTDIR}\${file}\" @ONLY)
    execute_process(COMMAND chmod ${mode} \"\$ENV{DESTDIR}\${file}\")
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${file}\")" COMPONENT ${component})
endfunction()

# Installs a program with its completion and its manual page, into which the version is written.
function(orvlog_install_program program destination)
  install(TARGETS ${program} RUNTIME DESTINATION ${destination} COMPONENT ${program})
  # The run path leads to the simulator of the build tree.
  orvlog_installed_directory(directory "${destination}")
  install(CODE "file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}${directory}/${program}\")" COMPONENT ${program})
  set(page ${PROJECT_BINARY_DIR}/docs/${program}.8)
  configure_file(docs/${program}.8 ${page} @ONLY)
  add_custom_command( # without name and time, so that two builds give the same bytes
    OUTPUT ${page}.gz COMMAND ${ORVLOG_GZIP} -9nc ${page} > ${page}.gz DEPENDS ${page} VERBATIM)
  add_custom_target(orvlog_${program}_page ALL DEPENDS ${page}.gz)
  install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT ${program})
  install(FILES ${PROJECT_SOURCE_DIR}/completions/${program}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT ${program})
endfunction()

if(TARGET orvlog)
  orvlog_install_program(orvlog ${CMAKE_INSTALL_SBINDIR})
endif()

# imlog with its units, which nothing enables, and their script. They name the programs by their paths: systemd 247 does
# not search for them.
if(TARGET imlog)
  orvlog_install_program(imlog ${CMAKE_INSTALL_BINDIR})
  set(ORVLOG_UNIT_DIR lib/systemd/system CACHE STRING "Directory of systemd's units")
  set(imlog_helpers lib/imlog)
  orvlog_installed_directory(bindir "${CMAKE_INSTALL_BINDIR}")
  orvlog_installed_directory(helperdir ${imlog_helpers})
  set(variables "set(bindir \"${bindir}\")\nset(helperdir \"${helperdir}\")")
  orvlog_install_template(packaging/systemd/write-metrics.in ${imlog_helpers} 755 imlog "${variables}")
  foreach(unit IN ITEMS imlog-ship prometheus-node-exporter-iml)
    orvlog_install_template(packaging/systemd/${unit}.service.in "${ORVLOG_UNIT_DIR}" 644 imlog "${variables}")
    install(FILES packaging/systemd/${unit}.timer DESTINATION ${ORVLOG_UNIT_DIR} COMPONENT imlog)
  endforeach()
  install(FILES packaging/systemd/imlog.catalog DESTINATION lib/systemd/catalog COMPONENT imlog)
  install(FILES docs/guide.md docs/shipping.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/imlog COMPONENT imlog)
  install(DIRECTORY examples/fleet/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/imlog/examples COMPONENT imlog
          REGEX "imlog-(fetch|mail)$" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                  WORLD_READ WORLD_EXECUTE)
endif()

# The translator for other projects: programs run with libimltext1 and are built with libimltext-dev.
get_target_property(imltext_version imltext VERSION)
get_target_property(imltext_soversion imltext SOVERSION)
set(imltext_headers ${CMAKE_INSTALL_INCLUDEDIR}/iml)
set(imltext_package ${CMAKE_INSTALL_LIBDIR}/cmake/imltext)
set(imltext_examples ${CMAKE_INSTALL_DATADIR}/doc/libimltext-dev/examples)
install(TARGETS orvlog_imltext_static imltext EXPORT imltext
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libimltext1 NAMELINK_COMPONENT libimltext-dev
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libimltext-dev
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
orvlog_installed_directory(archives "${CMAKE_INSTALL_LIBDIR}")
install(CODE "
  if(CMAKE_INSTALL_DO_STRIP) # which leaves archives alone
    execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug --enable-deterministic-archives
      \"\$ENV{DESTDIR}${archives}/libimltext.a\" RESULT_VARIABLE failed)
    if(failed)
      message(FATAL_ERROR \"libimltext.a cannot be stripped\")
    endif()
  endif()" COMPONENT libimltext-dev)
install(FILES iml/eventstr.h iml/iml_record.h DESTINATION ${imltext_headers} COMPONENT libimltext-dev)
install(DIRECTORY iml/records DESTINATION ${imltext_headers} COMPONENT libimltext-dev FILES_MATCHING PATTERN *.h)

install(EXPORT imltext FILE imltext-config.cmake NAMESPACE imltext:: DESTINATION ${imltext_package}
        COMPONENT libimltext-dev)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/imltext-config-version.cmake VERSION ${imltext_version} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/imltext-config-version.cmake DESTINATION ${imltext_package}
        COMPONENT libimltext-dev)

# The file for pkg-config finds the prefix from its own place, so that the installed tree can be moved.
file(RELATIVE_PATH imltext_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
foreach(directory IN ITEMS LIBDIR INCLUDEDIR)
  set(imltext_${directory} ${CMAKE_INSTALL_${directory}})
  if(NOT IS_ABSOLUTE "${imltext_${directory}}")
    string(PREPEND imltext_${directory} "\${prefix}/")
  endif()
endforeach()
configure_file(iml/imltext.pc.in ${PROJECT_BINARY_DIR}/imltext.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/imltext.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT libimltext-dev)

install(FILES examples/CMakeLists.txt examples/translate.c DESTINATION ${imltext_examples} COMPONENT libimltext-dev)
install(PROGRAMS examples/translate.py DESTINATION ${imltext_examples} COMPONENT libimltext-dev)

# The simulator, its sample server and the tool that makes servers.
set(simulator_data ${CMAKE_INSTALL_DATADIR}/orvlog-simulator)
install(TARGETS orvlog_kelmintrfc64 orvlog_orvev64 LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/orvlog-simulator
        COMPONENT orvlog-simulator NAMELINK_SKIP EXCLUDE_FROM_ALL)
install(PROGRAMS simulator/imltext.py simulator/fleet.py DESTINATION ${simulator_data} COMPONENT orvlog-simulator
        EXCLUDE_FROM_ALL)
install(FILES simulator/README.md DESTINATION ${simulator_data} COMPONENT orvlog-simulator EXCLUDE_FROM_ALL)
if(TARGET orvlog_sample_server)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/samples/server DESTINATION ${simulator_data}
          COMPONENT orvlog-simulator EXCLUDE_FROM_ALL)
endif()
