# Runs at installation, before anything is put anywhere: makes the directories of a component that are not there yet,
# with modes of their own, since users must be able to enter them whatever umask the installer has, and notes them, so
# that the target "uninstall" can take out these and no others.
#
# Set before: zor_directories, relative to the prefix, and zor_record, a file. It begins with two lines, what DESTDIR
# and the prefix are; an installation to elsewhere begins it anew. No name is ever in a list, so names may hold a
# semicolon.
cmake_minimum_required(VERSION 3.25)

set(zor_root "$ENV{DESTDIR}")
if(NOT zor_root STREQUAL "")
  get_filename_component(zor_root "${zor_root}" ABSOLUTE)
endif()
set(zor_head "${zor_root}\n${CMAKE_INSTALL_PREFIX}\n")
set(zor_before "")
if(EXISTS "${zor_record}")
  file(READ "${zor_record}" zor_before)
endif()
string(FIND "${zor_before}" "${zor_head}" zor_place)
if(NOT zor_place EQUAL 0)
  file(WRITE "${zor_record}" "${zor_head}")
  # What was installed to elsewhere is not this installation's. CMake writes its own list at the end.
  get_filename_component(zor_build "${zor_record}" DIRECTORY)
  foreach(zor_list install_manifest install_manifest_tool install_manifest_development)
    file(REMOVE "${zor_build}/${zor_list}.txt")
  endforeach()
endif()

foreach(zor_directory ${zor_directories})
  if(IS_ABSOLUTE "${zor_directory}")
    set(zor_leaf "${zor_root}${zor_directory}")
  else()
    set(zor_leaf "${zor_root}${CMAKE_INSTALL_PREFIX}/${zor_directory}")
  endif()
  set(zor_top "")
  set(zor_path "${zor_leaf}")
  while(NOT EXISTS "${zor_path}" AND NOT zor_path STREQUAL "")
    set(zor_top "${zor_path}")
    string(REGEX REPLACE "/+[^/]*$" "" zor_path "${zor_path}")
  endwhile()
  if(zor_top STREQUAL "")
    continue()
  endif()
  file(MAKE_DIRECTORY "${zor_leaf}")
  set(zor_path "${zor_leaf}")
  while(TRUE)
    file(CHMOD "${zor_path}" PERMISSIONS
      OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    file(APPEND "${zor_record}" "${zor_path}\n")
    if(zor_path STREQUAL zor_top)
      break()
    endif()
    string(REGEX REPLACE "/+[^/]*$" "" zor_path "${zor_path}")
  endwhile()
endforeach()
