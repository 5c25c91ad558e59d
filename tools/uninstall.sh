#!/usr/bin/env bash
# Removes what `make install` installed from a build folder: every file CMake listed in
# BUILD_DIR/install_manifest.txt, then those of the folders the installation made
# (BUILD_DIR/install_folders.txt, see dist/record-folders.cmake) that are empty now, deepest
# first. Both lists name paths without DESTDIR; the same DESTDIR as the installation's is put in
# front of them, and the folders are left alone when the record was made for another DESTDIR.
# Usage: [DESTDIR=...] tools/uninstall.sh BUILD_DIR
set -euo pipefail

build=${1:?usage: tools/uninstall.sh BUILD_DIR}
manifest="$build/install_manifest.txt"
folders="$build/install_folders.txt"
destdir=${DESTDIR:-}

if [ ! -f "$manifest" ]; then
  echo "uninstall: nothing to remove: $manifest is missing (no installation from this build folder)"
  exit 0
fi

# CMake ends the list without a newline: the last line counts too
while IFS= read -r path || [ -n "$path" ]; do
  [ -n "$path" ] || continue
  if [ -e "$destdir$path" ] || [ -L "$destdir$path" ]; then
    rm -f -- "$destdir$path"
    echo "-- Removed: $destdir$path"
  fi
done <"$manifest"

# A folder's path sorts before its subfolders': in reverse order each comes after them
if [ -f "$folders" ] && [ "$(head -n 1 "$folders")" != "DESTDIR=$destdir" ]; then
  echo "uninstall: $folders is for another DESTDIR ($(head -n 1 "$folders")): no folders removed"
elif [ -f "$folders" ]; then
  tail -n +2 "$folders" | sort -r | while IFS= read -r path || [ -n "$path" ]; do
    if [ -n "$path" ] && [ -d "$destdir$path" ] && rmdir -- "$destdir$path" 2>/dev/null; then
      echo "-- Removed: $destdir$path/"
    fi
  done
fi
# An installation into its real place brought the desktop's MIME and menu databases up to date
# (dist/CMakeLists.txt): so does its removal, for the folders it installed into
if [ -z "$destdir" ]; then
  while IFS= read -r path || [ -n "$path" ]; do
    case "$path" in
      */share/mime/packages/*.xml)
        if command -v update-mime-database >/dev/null && [ -d "${path%/packages/*}" ]; then
          update-mime-database "${path%/packages/*}" || true
        fi ;;
      */share/applications/*.desktop)
        if command -v update-desktop-database >/dev/null && [ -d "${path%/*}" ]; then
          update-desktop-database "${path%/*}" || true
        fi ;;
    esac
  done <"$manifest"
fi
rm -f -- "$manifest" "$folders"
