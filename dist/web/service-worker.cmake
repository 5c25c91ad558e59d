# Writes the service worker FOLDER/sw.js from TEMPLATE (sw.js.in) for the browser build in FOLDER:
# the files it keeps, and its version, a digest of those files' contents, so that every build
# whose files differ has a worker and a cache of its own.
#   cmake -DFOLDER=build-web -DTEMPLATE=dist/web/sw.js.in -P dist/web/service-worker.cmake
set(KEPT index.html page.js lumlife.js lumlife.wasm lumlife.data manifest.webmanifest icon-192.png icon-512.png)

set(digests "")
set(FILES "\"./\"")
foreach(file IN LISTS KEPT)
  if(NOT EXISTS "${FOLDER}/${file}")
    message(FATAL_ERROR "service worker: ${FOLDER}/${file} is missing")
  endif()
  file(SHA256 "${FOLDER}/${file}" digest)
  string(APPEND digests "${file} ${digest}\n")
  string(APPEND FILES ", \"${file}\"")
endforeach()
string(SHA256 VERSION "${digests}")
string(SUBSTRING "${VERSION}" 0 16 VERSION)
configure_file("${TEMPLATE}" "${FOLDER}/sw.js" @ONLY)
