# What `cmake --install` puts where. A component is a package; the simulator is installed only when it is asked for
# (--component orvlog-simulator), and where its libraries never shadow the maker's.
include(CMakePackageConfigHelpers)
find_program(GZIP gzip REQUIRED)

# Installs `file` compressed, as `name`.gz; the same file always gives the same bytes.
function(orvlog_install_compressed component file name destination)
  set(compressed ${PROJECT_BINARY_DIR}/compressed/${component}/${name}.gz)
  add_custom_command(
    OUTPUT ${compressed}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/compressed/${component}
    COMMAND ${GZIP} -9nc ${file} > ${compressed}
    DEPENDS ${file}
    VERBATIM)
  add_custom_target(compressed_${component}_${name} ALL DEPENDS ${compressed})
  install(FILES ${compressed} DESTINATION ${destination} COMPONENT ${component} ${ARGN})
endfunction()

foreach(component IN ITEMS orvlog libiml-dev orvlog-simulator)
  set(when "")
  if(component STREQUAL "orvlog-simulator")
    set(when EXCLUDE_FROM_ALL)
  endif()
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${component}
          COMPONENT ${component} ${when})
  orvlog_install_compressed(${component} ${PROJECT_SOURCE_DIR}/packaging/changelog changelog
                            ${CMAKE_INSTALL_DATADIR}/doc/${component} ${when})
endforeach()

# The program.
install(TARGETS orvlog RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT orvlog)
orvlog_install_compressed(orvlog ${PROJECT_SOURCE_DIR}/docs/orvlog.8 orvlog.8 ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES completions/orvlog DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT orvlog)

# The translator, for others.
set(iml_headers ${CMAKE_INSTALL_INCLUDEDIR}/iml)
set(iml_package ${CMAKE_INSTALL_LIBDIR}/cmake/iml)
install(TARGETS iml iml_shared EXPORT iml
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libiml-dev
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libiml-dev
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(CODE "
  if(CMAKE_INSTALL_DO_STRIP) # which leaves archives alone
    execute_process(COMMAND ${CMAKE_STRIP} --strip-debug --enable-deterministic-archives
      \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libiml.a COMMAND_ERROR_IS_FATAL ANY)
  endif()" COMPONENT libiml-dev)
install(FILES iml/eventstr.h iml/iml_record.h DESTINATION ${iml_headers} COMPONENT libiml-dev)
install(DIRECTORY iml/records DESTINATION ${iml_headers} COMPONENT libiml-dev FILES_MATCHING PATTERN *.h)

install(EXPORT iml FILE iml-config.cmake NAMESPACE iml:: DESTINATION ${iml_package} COMPONENT libiml-dev)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/iml-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/iml-config-version.cmake DESTINATION ${iml_package} COMPONENT libiml-dev)

# The file finds its prefix from where it lies, so that --prefix at installation holds for it too.
file(RELATIVE_PATH PREFIX_FROM_PKGCONFIG /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" PREFIX_FROM_PKGCONFIG ${PREFIX_FROM_PKGCONFIG})
configure_file(iml/libiml.pc.in ${PROJECT_BINARY_DIR}/libiml.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/libiml.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT libiml-dev)

install(FILES examples/CMakeLists.txt examples/translate.c DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libiml-dev/examples
        COMPONENT libiml-dev)
install(PROGRAMS examples/translate.py DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libiml-dev/examples
        COMPONENT libiml-dev)

# The simulator, its sample server and the tool that makes servers.
set(simulator_data ${CMAKE_INSTALL_DATADIR}/orvlog-simulator)
install(TARGETS kelmintrfc64 orvev64 LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/orvlog-simulator
        COMPONENT orvlog-simulator NAMELINK_SKIP EXCLUDE_FROM_ALL)
install(PROGRAMS simulator/imltext.py DESTINATION ${simulator_data} COMPONENT orvlog-simulator EXCLUDE_FROM_ALL)
install(FILES simulator/README.md DESTINATION ${simulator_data} COMPONENT orvlog-simulator EXCLUDE_FROM_ALL)
if(TARGET sample_server)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/samples/server DESTINATION ${simulator_data}
          COMPONENT orvlog-simulator EXCLUDE_FROM_ALL)
endif()
