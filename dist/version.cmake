# The release history, dist/changelog (in the Debian changelog format, installed with the
# package), is the one place a version is written: its newest entry gives
#   LUMLIFE_VERSION       the version, "0.1.0"
#   LUMLIFE_RELEASE_DATE  its date, "2026-11-22" (for the AppStream metainfo)
#   LUMLIFE_MAINTAINER    who signed it, "Name <mail>" (the package's maintainer)
# A change to the file configures the build again.
set(LUMLIFE_CHANGELOG ${CMAKE_CURRENT_LIST_DIR}/changelog)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${LUMLIFE_CHANGELOG})

# The first line names the package and the version: "lumlife (0.1.0) unstable; urgency=medium"
file(STRINGS ${LUMLIFE_CHANGELOG} lumlife_heading LIMIT_COUNT 1)
if(NOT lumlife_heading MATCHES "^lumlife \\(([0-9]+\\.[0-9]+\\.[0-9]+)\\) ")
  message(FATAL_ERROR "${LUMLIFE_CHANGELOG}: the first line does not read 'lumlife (X.Y.Z) ...'")
endif()
set(LUMLIFE_VERSION ${CMAKE_MATCH_1})

# The entry's last line signs and dates it: " -- Name <mail>  Sun, 22 Nov 2026 22:40:00 +0000"
file(STRINGS ${LUMLIFE_CHANGELOG} lumlife_trailer REGEX "^ -- " LIMIT_COUNT 1)
if(NOT lumlife_trailer MATCHES "^ -- ([^<]+ <[^>]+>)  [A-Z][a-z][a-z], ([0-9][0-9]?) ([A-Z][a-z][a-z]) ([0-9][0-9][0-9][0-9]) ")
  message(FATAL_ERROR "${LUMLIFE_CHANGELOG}: the newest entry has no signed and dated ' -- ' line")
endif()
set(LUMLIFE_MAINTAINER ${CMAKE_MATCH_1})
set(lumlife_day ${CMAKE_MATCH_2})
set(lumlife_month_name ${CMAKE_MATCH_3})
set(lumlife_year ${CMAKE_MATCH_4})
set(lumlife_months Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec)
list(FIND lumlife_months ${lumlife_month_name} lumlife_month)
if(lumlife_month LESS 0)
  message(FATAL_ERROR "${LUMLIFE_CHANGELOG}: '${lumlife_month_name}' is not a month")
endif()
math(EXPR lumlife_month "${lumlife_month} + 1")
string(REGEX REPLACE "^([0-9])$" "0\\1" lumlife_month ${lumlife_month})
string(REGEX REPLACE "^([0-9])$" "0\\1" lumlife_day ${lumlife_day})
set(LUMLIFE_RELEASE_DATE ${lumlife_year}-${lumlife_month}-${lumlife_day})
