# The Debian packages: one for each component. tools/package calls this with the layout and the flags that Debian wants.
set(zor_debian ${PROJECT_SOURCE_DIR}/cmake/debian)

# The first version in Debian's changelog is that of the packages, as 1.0.0-1.
file(STRINGS ${zor_debian}/changelog zor_entry REGEX "^zorenv " LIMIT_COUNT 1)
if(NOT zor_entry MATCHES "^zorenv \\(${PROJECT_VERSION}-([0-9]+)\\)")
  message(FATAL_ERROR "cmake/debian/changelog begins with another version than ${PROJECT_VERSION}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})
file(STRINGS ${zor_debian}/changelog zor_signature REGEX "^ -- " LIMIT_COUNT 1)
string(REGEX REPLACE "^ -- (.*>)  .*" "\\1" CPACK_DEBIAN_PACKAGE_MAINTAINER "${zor_signature}")

zor_compress(${zor_debian}/changelog ${PROJECT_BINARY_DIR}/changelog.Debian.gz)
zor_compress(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_BINARY_DIR}/changelog.gz)
set(zor_records
  ${zor_debian}/copyright ${PROJECT_BINARY_DIR}/changelog.Debian.gz ${PROJECT_BINARY_DIR}/changelog.gz)
install(FILES ${zor_records} DESTINATION ${zor_doc} COMPONENT tool)
install(FILES ${zor_records} DESTINATION ${fwos_doc} COMPONENT development)
install(FILES ${zor_debian}/zorenv.lintian-overrides RENAME zorenv
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT tool)
install(FILES ${zor_debian}/libfwos-dev.lintian-overrides RENAME libfwos-dev
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT development)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL tool development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Else the project's own line would come before the description of each package.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME zorenv)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS "libxml2-utils")
set(CPACK_DEBIAN_TOOL_DESCRIPTION "environment variables for the products of a software installation
zorenv works out the environment variables under which the products of a
software installation run together, and hands them to a shell, or starts a
program in them.

Products lie in a warehouse, a tree of directories; each says in a few XML
files what it is made of and what it needs. A variable such as PATH is not
edited as text but computed as a set of elements with order constraints: a
product that includes another overrules it, a real conflict is an error, and
on an error nothing changes.

With it come zor, a front end for people, which puts the settings into a
running shell of nearly any kind and takes them out again, completions for
bash, zsh and fish, schemas of the data files, and an example warehouse.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libfwos-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "cmake, pkg-config")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "portable framework of memory, text, errors, files and objects
The framework that zorenv stands on: memory with a stated reaction to
exhaustion, text in UTF-8, formatted output and message files for its
translation, errors as a tree of kinds, objects with classes, vectors and
hash tables, files, streams and processes. For programs in C++20.

This package holds the static libraries, the headers, what CMake and
pkg-config need to find them, the manual page zorenv-framework(3), and an
example application.")

include(CPack)
