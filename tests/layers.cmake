# Fails on an include that goes up the layers, and on a window system's or device library's header outside the
# folder of its backend.   cmake -D ROOT=... -P layers.cmake

cmake_minimum_required(VERSION 3.22)

# FOLDER: the layers whose headers it may include, besides its own.
set(allowed_core "")
set(allowed_settings core)
set(allowed_platform core)
set(allowed_receiver core settings platform/ports)
set(allowed_settings_ui core settings receiver platform/ports)
set(allowed_overlay core settings receiver settings_ui platform/ports)
set(allowed_app core settings platform receiver settings_ui overlay)
set(layers core settings platform receiver settings_ui overlay app)

# HEADER PATTERN = FOLDERS where it belongs.
set(foreign
  "xcb/|X11/=platform/x11"
  "wayland-=platform/wayland"
  "QDBus|QtDBus=platform/dbus|platform/qt"
  "hidapi=platform/hidapi|receiver/hidapi"
  "libudev=platform/evdev|platform/udev|receiver/udev|platform/hidapi|receiver/hidapi")

function(complain text)
  message(SEND_ERROR "${text}")
endfunction()

foreach(layer IN LISTS layers)
  file(GLOB_RECURSE files RELATIVE "${ROOT}" "${ROOT}/${layer}/*.h" "${ROOT}/${layer}/*.cpp")
  foreach(file IN LISTS files)
    file(STRINGS "${ROOT}/${file}" includes REGEX "^[ \t]*#[ \t]*include")
    foreach(line IN LISTS includes)
      string(REGEX REPLACE "^[^<\"]*[<\"]([^>\"]*)[>\"].*$" "\\1" header "${line}")

      # Our own headers are named from the root of the repository.
      string(REGEX MATCH "^[^/]+" target "${header}")
      if(target IN_LIST layers AND NOT target STREQUAL layer)
        set(fine FALSE)
        foreach(permitted IN LISTS allowed_${layer})
          if(header MATCHES "^${permitted}/")
            set(fine TRUE)
          endif()
        endforeach()
        if(NOT fine)
          complain("${file}: ${layer} must not include ${header}")
        endif()
      endif()

      # Within the platform, ports know no backend, and backends know no other.
      if(layer STREQUAL "platform" AND target STREQUAL "platform")
        string(REGEX MATCH "^platform/[^/]+" from "${file}")
        if(NOT header MATCHES "^${from}/" AND (from STREQUAL "platform/ports" OR NOT header MATCHES "^platform/ports/"))
          complain("${file}: ${from} must not include ${header}")
        endif()
      endif()

      foreach(rule IN LISTS foreign)
        string(REGEX REPLACE "=.*$" "" pattern "${rule}")
        string(REGEX REPLACE "^.*=" "" folders "${rule}")
        if(header MATCHES "^(${pattern})" AND NOT file MATCHES "^(${folders})/")
          complain("${file}: ${header} belongs to ${folders}")
        endif()
      endforeach()
    endforeach()
  endforeach()
endforeach()
