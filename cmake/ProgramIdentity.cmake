# How the program is called wherever it is installed. Its command is the project's name.
set(COMPANION_TITLE "Presenter Companion")
set(COMPANION_SUMMARY "spotlight, laser dot and magnifier for wireless presenters")
# Nobody owns a name below "local" or "invalid", so these can never belong to somebody else.
set(COMPANION_COMPONENT_ID "local.presenter_companion.presenter_companion")
set(COMPANION_MAINTAINERS "presenter-companion maintainers")
set(COMPANION_CONTACT "${COMPANION_MAINTAINERS} <maintainers@presenter-companion.invalid>")

# The day of the release is the one in the list of changes, which must have an entry for this version.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md companion_releases REGEX "^## \\[")
list(GET companion_releases 0 companion_release)
if(NOT companion_release MATCHES "^## \\[${PROJECT_VERSION}\\] - ([0-9]+-[0-9][0-9]-[0-9][0-9])$")
  message(FATAL_ERROR "CHANGELOG.md begins with '${companion_release}', "
    "not with '## [${PROJECT_VERSION}] - YEAR-MONTH-DAY'")
endif()
set(COMPANION_RELEASE_DATE ${CMAKE_MATCH_1})
