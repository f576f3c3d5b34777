# What `cmake --install` puts where, in two components: "tool", the program and all that makes it easier to live with,
# and "development", the framework for other programs. All destinations are relative to the prefix, and nothing
# installed knows it, so an installed tree can be moved.
#
# Of the floors, standard and fwos are the framework and public. vqnexpat and wh serve the tool alone: their interfaces
# may change with it, so they are linked into the program and not installed.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Set by tools/package: compressed manual pages, and each package's own copyright and changelog.
option(ZOR_DEBIAN "Lay out what is installed as Debian wants it" OFF)
set(ZOR_ZSH_DIR "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" CACHE STRING "Where zsh looks for completions")
set(zor_share ${CMAKE_INSTALL_DATADIR}/zorenv)
set(zor_doc ${CMAKE_INSTALL_DATAROOTDIR}/doc/zorenv)
set(fwos_doc ${CMAKE_INSTALL_DATAROOTDIR}/doc/libfwos-dev)

# zor_install_page(COMPONENT SECTION PAGE): a manual page.
function(zor_install_page component section page)
  set(file ${PROJECT_SOURCE_DIR}/doc/man/${page}.${section})
  if(ZOR_DEBIAN)
    set(compressed ${PROJECT_BINARY_DIR}/${page}.${section}.gz)
    zor_compress(${file} ${compressed})
    set(file ${compressed})
  endif()
  install(FILES ${file} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endfunction()

# zor_compress(FROM TO): the same bytes for the same file, whenever it is done.
function(zor_compress from to)
  execute_process(COMMAND gzip -9nc ${from} OUTPUT_FILE ${to} COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${from})
endfunction()

# zor_install_example(COMPONENT FROM TO [PROGRAMS]): a directory of examples. What matches PROGRAMS can be run, whatever
# the modes are in the source.
function(zor_install_example component from to)
  cmake_parse_arguments(arg "" "PROGRAMS" "" ${ARGN})
  set(programs)
  if(arg_PROGRAMS)
    set(programs REGEX ${arg_PROGRAMS} PERMISSIONS
      OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  endif()
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${from} DESTINATION ${to} COMPONENT ${component} ${programs})
endfunction()

# zor_install_document(COMPONENT DOCUMENT TO): a document, without the links to what stays in the source.
function(zor_install_document component document to)
  file(READ ${PROJECT_SOURCE_DIR}/${document} text)
  foreach(link doc/man/[^\)]* doc/framework.md doc/architecture.md doc/performance.md CONTRIBUTING.md)
    string(REGEX REPLACE "\\[([^]]*)\\]\\(${link}\\)" "\\1" text "${text}")
  endforeach()
  file(WRITE ${PROJECT_BINARY_DIR}/documents/${document} "${text}")
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${document})
  install(FILES ${PROJECT_BINARY_DIR}/documents/${document} DESTINATION ${to} COMPONENT ${component})
endfunction()

# zor_install_directories(COMPONENT DIRECTORY...): the directories that a component installs files to, stated before all
# its other rules. Those that install(DIRECTORY) makes have their modes from there. A package's come from CPack.
function(zor_install_directories component)
  if(NOT ZOR_DEBIAN)
    install(CODE "set(zor_record \"${PROJECT_BINARY_DIR}/install_directories.txt\")\nset(zor_directories ${ARGN})"
      COMPONENT ${component})
    install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/InstallDirectories.cmake COMPONENT ${component})
  endif()
endfunction()

add_custom_target(uninstall
  COMMAND sh ${PROJECT_SOURCE_DIR}/cmake/uninstall.sh ${PROJECT_BINARY_DIR}
  COMMENT "Uninstalling what was installed last from ${PROJECT_BINARY_DIR}" VERBATIM USES_TERMINAL)

# The tool and the front end.
set(completions ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
zor_install_directories(tool
  ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_MANDIR}/man1 ${CMAKE_INSTALL_MANDIR}/man5 ${CMAKE_INSTALL_MANDIR}/man7
  ${completions} ${ZOR_ZSH_DIR}
  ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d ${zor_doc}/doc ${zor_doc}/share/schemas
  ${zor_share}/schemas/json ${zor_share}/schemas/xsd
  ${zor_doc}/examples)
install(TARGETS zorenv zor RUNTIME COMPONENT tool)
zor_install_page(tool 1 zorenv)
zor_install_page(tool 1 zor)
zor_install_page(tool 5 zor.toml)
zor_install_page(tool 5 zorenv-warehouse)
zor_install_page(tool 7 zor-check)
zor_install_page(tool 7 zor-formats)
zor_install_page(tool 7 zor-session)

# The completion of zor comes with the function that "zor init" prints.
install(FILES share/completions/zorenv.bash RENAME zorenv
  DESTINATION ${completions} COMPONENT tool)
install(FILES share/completions/_zorenv DESTINATION ${ZOR_ZSH_DIR} COMPONENT tool)
install(FILES share/completions/zorenv.fish
  DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tool)

install(DIRECTORY share/ci DESTINATION ${zor_share} COMPONENT tool)
install(DIRECTORY share/schemas DESTINATION ${zor_share} COMPONENT tool PATTERN README.md EXCLUDE)

# The documents lie to each other as in the source, so that their links hold.
zor_install_document(tool README.md ${zor_doc})
zor_install_document(tool doc/guide.md ${zor_doc}/doc)
zor_install_document(tool doc/daily-use.md ${zor_doc}/doc)
zor_install_document(tool doc/cookbook.md ${zor_doc}/doc)
zor_install_document(tool doc/sharp-edges.md ${zor_doc}/doc)
zor_install_document(tool share/README.md ${zor_doc}/share)
zor_install_document(tool share/schemas/README.md ${zor_doc}/share/schemas)
install(PROGRAMS examples/demo DESTINATION ${zor_doc}/examples COMPONENT tool)
zor_install_example(tool examples/warehouse ${zor_doc}/examples PROGRAMS "/bin/[^/]*$")

# The framework.
# There are other things of this name in a directory of libraries.
set_target_properties(standard PROPERTIES OUTPUT_NAME fwos-standard)
# Who links instrumented libraries must link what they call.
set(fwos_instrument_flags)
if(ZOR_SANITIZE)
  list(APPEND fwos_instrument_flags -fsanitize=address,undefined)
endif()
if(ZOR_COVERAGE)
  list(APPEND fwos_instrument_flags --coverage)
endif()
target_link_options(standard INTERFACE "$<INSTALL_INTERFACE:${fwos_instrument_flags}>")

set(fwos_cmake ${CMAKE_INSTALL_LIBDIR}/cmake/fwos)
zor_install_directories(development
  ${CMAKE_INSTALL_INCLUDEDIR}/fwos ${fwos_cmake} ${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_MANDIR}/man3
  ${fwos_doc}/doc ${fwos_doc}/examples)
install(TARGETS standard fwos EXPORT fwos
  ARCHIVE COMPONENT development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/fwos COMPONENT development)
install(EXPORT fwos FILE fwos-targets.cmake NAMESPACE fwos:: DESTINATION ${fwos_cmake} COMPONENT development)
configure_package_config_file(cmake/fwos-config.cmake.in fwos-config.cmake INSTALL_DESTINATION ${fwos_cmake}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(fwos-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/fwos-config.cmake ${PROJECT_BINARY_DIR}/fwos-config-version.cmake
  DESTINATION ${fwos_cmake} COMPONENT development)

file(RELATIVE_PATH fwos_prefix_of_pc
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" fwos_prefix_of_pc "${fwos_prefix_of_pc}")
list(JOIN fwos_instrument_flags " " fwos_instrument_flags)
configure_file(cmake/fwos.pc.in fwos.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/fwos.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

zor_install_page(development 3 zorenv-framework)
install(FILES doc/framework.md doc/architecture.md DESTINATION ${fwos_doc}/doc COMPONENT development)
zor_install_example(development examples/greet ${fwos_doc}/examples)

if(ZOR_DEBIAN)
  include(cmake/Package.cmake)
else()
  install(FILES CHANGELOG.md DESTINATION ${zor_doc} COMPONENT tool)
endif()
