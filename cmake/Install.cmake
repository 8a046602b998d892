# What `cmake --install` installs, and where. A component is a package. The simulator is installed only on request
# (--component orvlog-simulator), into a folder where its libraries never shadow the maker's.
include(CMakePackageConfigHelpers)
find_program(GZIP gzip REQUIRED)

# Installs a program with its completion and its manual page, into which the version is written.
function(orvlog_install_program program destination)
  install(TARGETS ${program} RUNTIME DESTINATION ${destination} COMPONENT ${program})
  # The run path leads to the simulator of the build tree.
  install(CODE "file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${destination}/${program}\")"
          COMPONENT ${program})
  set(page ${PROJECT_BINARY_DIR}/docs/${program}.8)
  configure_file(docs/${program}.8 ${page} @ONLY)
  add_custom_command( # without name and time, so that two builds give the same bytes
    OUTPUT ${page}.gz COMMAND ${GZIP} -9nc ${page} > ${page}.gz DEPENDS ${page} VERBATIM)
  add_custom_target(orvlog_${program}_page ALL DEPENDS ${page}.gz)
  install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT ${program})
  install(FILES ${PROJECT_SOURCE_DIR}/completions/${program}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT ${program})
endfunction()

orvlog_install_program(orvlog ${CMAKE_INSTALL_SBINDIR})
orvlog_install_program(imlog ${CMAKE_INSTALL_BINDIR})

# The units of imlog, which nothing enables, and their script. They name the programs by their paths: systemd 247 does
# not search for them.
set(ORVLOG_UNIT_DIR lib/systemd/system CACHE STRING "Folder of systemd's units")
set(imlog_helpers lib/imlog)
foreach(file IN ITEMS write-metrics systemd/imlog-ship.service systemd/prometheus-node-exporter-iml.service)
  install(CODE "
    set(bindir \${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR})
    set(helperdir \${CMAKE_INSTALL_PREFIX}/${imlog_helpers})
    configure_file(${PROJECT_SOURCE_DIR}/packaging/${file}.in ${PROJECT_BINARY_DIR}/${file} @ONLY)"
    COMPONENT imlog)
endforeach()
foreach(unit IN ITEMS imlog-ship prometheus-node-exporter-iml)
  install(FILES ${PROJECT_BINARY_DIR}/systemd/${unit}.service packaging/systemd/${unit}.timer
          DESTINATION ${ORVLOG_UNIT_DIR} COMPONENT imlog)
endforeach()
install(PROGRAMS ${PROJECT_BINARY_DIR}/write-metrics DESTINATION ${imlog_helpers} COMPONENT imlog)
install(FILES docs/shipping.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/imlog COMPONENT imlog)

# The translator for other projects: libimltext1 has what a program needs to run, libimltext-dev what it needs to build.
set(imltext_headers ${CMAKE_INSTALL_INCLUDEDIR}/iml)
set(imltext_package ${CMAKE_INSTALL_LIBDIR}/cmake/imltext)
set(imltext_examples ${CMAKE_INSTALL_DATADIR}/doc/libimltext-dev/examples)
install(TARGETS orvlog_imltext_static imltext EXPORT imltext
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libimltext1 NAMELINK_COMPONENT libimltext-dev
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libimltext-dev
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# Programs find the library only after it is in the loader's cache.
install(CODE "
  if(NOT DEFINED ENV{DESTDIR} AND CMAKE_INSTALL_PREFIX MATCHES \"^/usr(/local)?$\")
    execute_process(COMMAND /sbin/ldconfig RESULT_VARIABLE failed)
    if(failed)
      message(WARNING \"ldconfig failed: run it as root, so that programs find libimltext.so.${PROJECT_VERSION_MAJOR}\")
    endif()
  endif()" COMPONENT libimltext1)
install(CODE "
  if(CMAKE_INSTALL_DO_STRIP) # which leaves archives alone
    execute_process(COMMAND ${CMAKE_STRIP} --strip-debug --enable-deterministic-archives
      \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libimltext.a RESULT_VARIABLE failed)
    if(failed)
      message(FATAL_ERROR \"libimltext.a cannot be stripped\")
    endif()
  endif()" COMPONENT libimltext-dev)
install(FILES iml/eventstr.h iml/iml_record.h DESTINATION ${imltext_headers} COMPONENT libimltext-dev)
install(DIRECTORY iml/records DESTINATION ${imltext_headers} COMPONENT libimltext-dev FILES_MATCHING PATTERN *.h)

install(EXPORT imltext FILE imltext-config.cmake NAMESPACE imltext:: DESTINATION ${imltext_package}
        COMPONENT libimltext-dev)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/imltext-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/imltext-config-version.cmake DESTINATION ${imltext_package}
        COMPONENT libimltext-dev)

# The prefix is known only at installation, when --prefix may replace it.
install(CODE "
  set(prefix \${CMAKE_INSTALL_PREFIX})
  set(libdir ${CMAKE_INSTALL_LIBDIR})
  set(includedir ${CMAKE_INSTALL_INCLUDEDIR})
  set(version ${PROJECT_VERSION})
  configure_file(${PROJECT_SOURCE_DIR}/iml/imltext.pc.in ${PROJECT_BINARY_DIR}/imltext.pc @ONLY)"
  COMPONENT libimltext-dev)
install(FILES ${PROJECT_BINARY_DIR}/imltext.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT libimltext-dev)

install(FILES examples/CMakeLists.txt examples/translate.c DESTINATION ${imltext_examples} COMPONENT libimltext-dev)
install(PROGRAMS examples/translate.py DESTINATION ${imltext_examples} COMPONENT libimltext-dev)

# The simulator, its sample server and the tool that makes servers.
set(simulator_data ${CMAKE_INSTALL_DATADIR}/orvlog-simulator)
install(TARGETS orvlog_kelmintrfc64 orvlog_orvev64 LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/orvlog-simulator
        COMPONENT orvlog-simulator NAMELINK_SKIP EXCLUDE_FROM_ALL)
install(PROGRAMS simulator/imltext.py DESTINATION ${simulator_data} COMPONENT orvlog-simulator EXCLUDE_FROM_ALL)
install(FILES simulator/README.md DESTINATION ${simulator_data} COMPONENT orvlog-simulator EXCLUDE_FROM_ALL)
if(TARGET orvlog_sample_server)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/samples/server DESTINATION ${simulator_data}
          COMPONENT orvlog-simulator EXCLUDE_FROM_ALL)
endif()
