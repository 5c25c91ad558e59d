# Run by CPack on the Debian package's staging tree, after the installation into it and before
# it is packed (CPACK_PRE_BUILD_SCRIPTS). A package of the games section keeps its commands in
# /usr/games, as Debian's policy for games asks, so the launcher moves there from /usr/bin. It
# finds the toy and its data relative to itself, and both folders sit right under /usr.
set(usr ${CPACK_TEMPORARY_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX})
file(MAKE_DIRECTORY ${usr}/games)
file(RENAME ${usr}/bin/lumlife ${usr}/games/lumlife)
file(GLOB left ${usr}/bin/*)
if(NOT left)
  file(REMOVE_RECURSE ${usr}/bin)
endif()
