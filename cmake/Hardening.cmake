# What a bug may cost: as little as compiler and linker can make it. None of it costs time that can be measured here.
include(CheckCXXCompilerFlag)

add_compile_options(-fstack-protector-strong)
foreach(flag -fstack-clash-protection -fcf-protection) # Not on every processor.
  string(MAKE_C_IDENTIFIER "companion_has${flag}" known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    add_compile_options(${flag})
  endif()
endforeach()
# Needs an optimising build. Some compilers set a level of their own.
add_compile_options($<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
                    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=3>)
add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

# Only what is used goes into the program.
add_compile_options(-ffunction-sections -fdata-sections -fvisibility=hidden
  $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>)
add_link_options(-Wl,--gc-sections -Wl,--as-needed)
