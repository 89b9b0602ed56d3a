# The shipped module carries no debug information: it goes into
# "<file>.debug" beside it, which the stripped file names in a debug link, so
# gdb and addr2line symbolise the module's addresses from it.
option(ORVALE_SPLIT_DEBUG_INFO "Strip the module and keep its debug information in a separate file" OFF)

function(orvale_split_debug_info target)
  if(NOT ORVALE_SPLIT_DEBUG_INFO OR MSVC)  # MSVC keeps it in a .pdb anyway
    return()
  endif()
  if(NOT CMAKE_OBJCOPY)
    message(FATAL_ERROR "ORVALE_SPLIT_DEBUG_INFO needs objcopy (CMAKE_OBJCOPY)")
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND "${CMAKE_OBJCOPY}" --only-keep-debug "$<TARGET_FILE_NAME:${target}>" "$<TARGET_FILE_NAME:${target}>.debug"
    COMMAND "${CMAKE_OBJCOPY}" --strip-all "--add-gnu-debuglink=$<TARGET_FILE_NAME:${target}>.debug"
            "$<TARGET_FILE_NAME:${target}>"
    WORKING_DIRECTORY "$<TARGET_FILE_DIR:${target}>"
    COMMENT "Splitting the debug information of $<TARGET_FILE_NAME:${target}>"
    VERBATIM)
endfunction()
