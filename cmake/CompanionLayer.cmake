# One folder is one static library. Link order is the layer diagram: a layer sees only what it names in USES.
#   companion_layer(settings SOURCES ConfigManager.cpp USES core Qt6::Core)
function(companion_layer name)
  cmake_parse_arguments(LAYER "" "" "SOURCES;USES;PRIVATE_USES" ${ARGN})
  add_library(${name} STATIC ${LAYER_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${LAYER_USES} PRIVATE companion_warnings ${LAYER_PRIVATE_USES})
  set_target_properties(${name} PROPERTIES UNITY_BUILD ${COMPANION_UNITY})
endfunction()

# Compiler settings of all our own targets; never reaches installed libraries.
add_library(companion_warnings INTERFACE)
target_compile_options(companion_warnings INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wold-style-cast $<$<BOOL:${COMPANION_WERROR}>:-Werror>)
target_compile_definitions(companion_warnings INTERFACE QT_NO_KEYWORDS) # `signals` is also a word of POSIX.

if(COMPANION_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(COMPANION_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # The compiler sees uninitialised members in the standard library's own code once it is instrumented.
  target_compile_options(companion_warnings INTERFACE -Wno-maybe-uninitialized)
  add_link_options(-fsanitize=address,undefined)
else()
  include(cmake/Hardening.cmake)
endif()
