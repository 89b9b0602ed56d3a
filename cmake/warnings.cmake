# Warnings as errors in the module's own folders (NotificationAPI/,
# Orvale.Notification.msix/, runtime/, hostapi/); runtime/ is header-only and
# is compiled as part of them. The clang and windows-msvc presets switch it on.
option(ORVALE_WARNINGS_AS_ERRORS "Warnings are errors in the module's folders" OFF)

function(orvale_warnings_as_errors)
  if(ORVALE_WARNINGS_AS_ERRORS)
    set_target_properties(${ARGN} PROPERTIES COMPILE_WARNING_AS_ERROR ON)
  endif()
endfunction()
