# USB identity of the presenter's receiver. It belongs to the hardware; the default is a public testing pair.
set(COMPANION_RECEIVER_VENDOR_ID "0x1209" CACHE STRING "USB vendor identifier of the receiver, 0x0001 to 0xFFFF")
set(COMPANION_RECEIVER_PRODUCT_ID "0x0001" CACHE STRING "USB product identifier of the receiver, 0x0000 to 0xFFFF")

# Of the device that the presence monitor watches for, which is another one.
set(COMPANION_MONITORED_VENDOR_ID "0xF055" CACHE STRING "USB vendor identifier of the monitored device, 0x0001 to 0xFFFF")
set(COMPANION_MONITORED_PRODUCT_ID "0x0002" CACHE STRING "USB product identifier of the monitored device, 0x0000 to 0xFFFF")

# Fails unless the cache variable holds 0x and one to four hex digits, at least `minimum`.
function(companion_check_usb_identifier variable minimum)
  if(NOT "${${variable}}" MATCHES "^0[xX][0-9a-fA-F]+$")
    message(FATAL_ERROR "${variable} is '${${variable}}'; write it as 0x and one to four hex digits")
  endif()
  math(EXPR value "${${variable}}")
  if(value LESS minimum OR value GREATER 65535)
    message(FATAL_ERROR "${variable} is '${${variable}}'; it must lie between ${minimum} and 0xFFFF")
  endif()
endfunction()

companion_check_usb_identifier(COMPANION_RECEIVER_VENDOR_ID 1)
companion_check_usb_identifier(COMPANION_RECEIVER_PRODUCT_ID 0)
companion_check_usb_identifier(COMPANION_MONITORED_VENDOR_ID 1)
companion_check_usb_identifier(COMPANION_MONITORED_PRODUCT_ID 0)

# A pair that shares half of the other is a slip of the pen.
foreach(part VENDOR PRODUCT)
  math(EXPR companion_receiver "${COMPANION_RECEIVER_${part}_ID}")
  math(EXPR companion_monitored "${COMPANION_MONITORED_${part}_ID}")
  if(companion_receiver EQUAL companion_monitored)
    message(FATAL_ERROR "COMPANION_RECEIVER_${part}_ID and COMPANION_MONITORED_${part}_ID are both "
      "${COMPANION_RECEIVER_${part}_ID}; the identifiers of the two devices must differ, vendor and product")
  endif()
endforeach()
