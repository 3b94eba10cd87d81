# "0x1a" becomes "001A", as the kernel names devices.
function(companion_kernel_number result identifier)
  math(EXPR number "${identifier}" OUTPUT_FORMAT HEXADECIMAL)
  string(REGEX REPLACE "^0x" "0000" digits "${number}")
  string(REGEX MATCH "....$" digits "${digits}")
  string(TOUPPER "${digits}" digits)
  set(${result} "${digits}" PARENT_SCOPE)
endfunction()

# Who may open the receiver with these identifiers.
function(companion_udev_rule file vendor_id product_id)
  companion_kernel_number(vendor "${vendor_id}")
  companion_kernel_number(product "${product_id}")
  string(TOLOWER "${vendor}" vendor_lower) # As in sysfs.
  string(TOLOWER "${product}" product_lower)
  configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/70-presenter-companion.rules.in "${file}" @ONLY)
endfunction()
