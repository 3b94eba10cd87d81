# The layer check itself must complain about each of these, and about nothing else.
#   cmake -D SCRIPT=layers.cmake -D SCRATCH=folder -P layers_faults.cmake

cmake_minimum_required(VERSION 3.22)

file(REMOVE_RECURSE "${SCRATCH}")
file(WRITE "${SCRATCH}/core/Up.h" "#include \"settings/ConfigManager.h\"\n")
file(WRITE "${SCRATCH}/app/Bus.cpp" "#include <QDBusConnection>\n")
file(WRITE "${SCRATCH}/settings/Device.cpp" "  # include <hidapi/hidapi.h>\n")
file(WRITE "${SCRATCH}/overlay/Window.cpp" "#include <xcb/xcb.h>\n#include \"core/Log.h\"\n")
file(WRITE "${SCRATCH}/overlay/Backend.cpp" "#include \"platform/x11/X11Platform.h\"\n")
file(WRITE "${SCRATCH}/platform/ports/Down.h" "#include \"platform/x11/X11Platform.h\"\n")
file(WRITE "${SCRATCH}/platform/x11/Across.cpp" "#include \"platform/null/NullPlatform.h\"\n")
file(WRITE "${SCRATCH}/platform/x11/Right.cpp"
  "#include <xcb/xcb.h>\n#include \"platform/ports/Tray.h\"\n#include \"core/Log.h\"\n#include <QImage>\n")
file(WRITE "${SCRATCH}/app/main.cpp" "#include \"platform/x11/X11Platform.h\"\n#include \"overlay/View.h\"\n")

execute_process(COMMAND "${CMAKE_COMMAND}" -D "ROOT=${SCRATCH}" -P "${SCRIPT}"
  RESULT_VARIABLE result ERROR_VARIABLE complaints)
string(REGEX MATCHALL "[a-z0-9_/]+/[A-Za-z]+\\.(cpp|h):[^\n]*(must not|belongs)" found "${complaints}")
list(TRANSFORM found REPLACE ":.*" "")
list(SORT found)
set(expected app/Bus.cpp core/Up.h overlay/Backend.cpp overlay/Window.cpp platform/ports/Down.h platform/x11/Across.cpp
  settings/Device.cpp)
if(result EQUAL 0 OR NOT found STREQUAL expected)
  message(FATAL_ERROR "complained about: ${found}\n(result ${result})\n${complaints}")
endif()
