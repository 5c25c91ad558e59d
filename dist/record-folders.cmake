# Run first in every installation (install(SCRIPT)): notes the folders that the installation is
# about to make, so that `make uninstall` (tools/uninstall.sh) removes them and no others. Each
# destination and its parents that do not exist yet under DESTDIR are added to the record, one
# path a line, without DESTDIR (like CMake's install_manifest.txt), after a first line that names
# the DESTDIR: "DESTDIR=/some/stage", or "DESTDIR=" for none. A record of an earlier installation
# into the same DESTDIR is kept, so that installing again over an installation forgets nothing;
# one of another DESTDIR is replaced, as CMake replaces its list of the files installed.
# The package's staging installation, under the build folder, makes no folders to note.
# Given by the install rules (dist/CMakeLists.txt):
#   LUMLIFE_INSTALL_FOLDERS  the destinations, relative to the prefix
#   LUMLIFE_FOLDER_RECORD    the record, BUILD/install_folders.txt
#   LUMLIFE_STAGING          where the package's staging installations go, BUILD/_CPack_Packages/
if("$ENV{DESTDIR}" MATCHES "^${LUMLIFE_STAGING}")
  return()
endif()
set(heading "DESTDIR=$ENV{DESTDIR}")
set(made)
if(EXISTS "${LUMLIFE_FOLDER_RECORD}")
  file(STRINGS "${LUMLIFE_FOLDER_RECORD}" made)
  list(POP_FRONT made earlier)
  if(NOT earlier STREQUAL heading)
    set(made)
  endif()
endif()
foreach(folder ${LUMLIFE_INSTALL_FOLDERS})
  set(path "${CMAKE_INSTALL_PREFIX}/${folder}")
  while(NOT path STREQUAL "" AND NOT path STREQUAL "/" AND NOT IS_DIRECTORY "$ENV{DESTDIR}${path}")
    list(APPEND made "${path}")
    get_filename_component(path "${path}" DIRECTORY)
  endwhile()
endforeach()
list(REMOVE_DUPLICATES made)
list(JOIN made "\n" text)
file(WRITE "${LUMLIFE_FOLDER_RECORD}" "${heading}\n${text}\n")
