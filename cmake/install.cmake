# cmake --install: the module for the client's build and installer (component
# "module"), its separate debug file ("symbols", for crash reporting, never
# shipped) and the support tools ("tools").
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

install(TARGETS NotificationAPI notificationapi_header EXPORT NotificationAPITargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT module
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT module)
install(FILES "${PROJECT_SOURCE_DIR}/include/NotificationAPI.h" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
        COMPONENT module)
# No package file: the build's Orvale.Notification.msix is an empty stand-in for
# the tests, and an installer taking it would ship it or overwrite the client's
# signed package beside the module.
if(ORVALE_SPLIT_DEBUG_INFO AND NOT MSVC)
  install(FILES "$<TARGET_FILE:NotificationAPI>.debug" DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT symbols)
elseif(MSVC)
  install(FILES "$<TARGET_PDB_FILE:NotificationAPI>" DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT symbols OPTIONAL)
endif()

# They run beside the host libraries: the client's own on a user's machine.
install(TARGETS DiagnoseNotifications ReportQueueViewer RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)

set(config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/NotificationAPI")
install(EXPORT NotificationAPITargets NAMESPACE NotificationAPI:: DESTINATION "${config_dir}" COMPONENT module)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/package/NotificationAPIConfig.cmake.in"
  "${CMAKE_BINARY_DIR}/package/NotificationAPIConfig.cmake" INSTALL_DESTINATION "${config_dir}")
write_basic_package_version_file("${CMAKE_BINARY_DIR}/package/NotificationAPIConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(FILES "${CMAKE_BINARY_DIR}/package/NotificationAPIConfig.cmake"
              "${CMAKE_BINARY_DIR}/package/NotificationAPIConfigVersion.cmake"
        DESTINATION "${config_dir}" COMPONENT module)

# The sizes of what ships, and of the debug file that does not.
install(CODE "
  foreach(file \"$<TARGET_FILE_NAME:NotificationAPI>\" \"$<TARGET_FILE_NAME:NotificationAPI>.debug\")
    set(path \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/\${file}\")
    if(EXISTS \"\${path}\")
      file(SIZE \"\${path}\" size)
      math(EXPR kib \"\${size} / 1024\")
      message(STATUS \"Installed size: \${file} \${size} bytes (\${kib} KiB)\")
    endif()
  endforeach()" COMPONENT module)
