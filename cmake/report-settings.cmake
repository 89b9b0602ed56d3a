# The telemetry collector's configuration (see Orvale.Notification.msix/QuorvelBuildSettings.h.in).
# Defaults are placeholders: ASCII "orvale-placeholder-report-key-32" and "placeholder-iv16",
# and a host under the reserved ".invalid" domain.
set(ORVALE_REPORT_COLLECTOR_URL "https://placeholders.quorvel.invalid/collect" CACHE STRING
    "HTTPS URL reports are posted to")
set(ORVALE_REPORT_KEY_HEX "6f7276616c652d706c616365686f6c6465722d7265706f72742d6b65792d3332" CACHE STRING
    "AES-256 key of queued reports, 64 hexadecimal digits")
set(ORVALE_REPORT_IV_HEX "706c616365686f6c6465722d69763136" CACHE STRING
    "AES-CBC initialisation vector of queued reports, 32 hexadecimal digits")

function(orvale_hex_to_byte_list hex expected_bytes out_var)
  string(LENGTH "${hex}" hex_length)
  math(EXPR expected_digits "${expected_bytes} * 2")
  if(NOT hex_length EQUAL expected_digits OR NOT hex MATCHES "^[0-9a-fA-F]+$")
    message(FATAL_ERROR "${out_var}: expected ${expected_digits} hexadecimal digits, got '${hex}'")
  endif()
  set(bytes "")
  math(EXPR last "${expected_bytes} - 1")
  foreach(i RANGE ${last})
    math(EXPR offset "${i} * 2")
    string(SUBSTRING "${hex}" ${offset} 2 pair)
    list(APPEND bytes "0x${pair}")
  endforeach()
  list(JOIN bytes ", " joined)
  set(${out_var} "${joined}" PARENT_SCOPE)
endfunction()

orvale_hex_to_byte_list("${ORVALE_REPORT_KEY_HEX}" 32 ORVALE_REPORT_KEY_BYTES)
orvale_hex_to_byte_list("${ORVALE_REPORT_IV_HEX}" 16 ORVALE_REPORT_IV_BYTES)
if(NOT ORVALE_REPORT_COLLECTOR_URL MATCHES "^https?://([^/:]+)")
  message(FATAL_ERROR "ORVALE_REPORT_COLLECTOR_URL must be an http(s) URL")
endif()
set(ORVALE_REPORT_COLLECTOR_HOST "${CMAKE_MATCH_1}")

set(ORVALE_GENERATED_DIR "${CMAKE_BINARY_DIR}/generated")
configure_file("${PROJECT_SOURCE_DIR}/Orvale.Notification.msix/QuorvelBuildSettings.h.in"
               "${ORVALE_GENERATED_DIR}/QuorvelBuildSettings.h" @ONLY)
# Module, tools and tests read the same values.
add_library(quorvel_build_settings INTERFACE)
target_include_directories(quorvel_build_settings INTERFACE "${ORVALE_GENERATED_DIR}")
