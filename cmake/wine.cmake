# Test binaries run under Wine, in a prefix that lives inside the build folder.
set(ORVALE_WINE_LOADER "/usr/lib/wine/wine64" CACHE FILEPATH "Wine's 64-bit loader")
set(ORVALE_WINEPREFIX "${CMAKE_BINARY_DIR}/wineprefix")
configure_file("${CMAKE_CURRENT_LIST_DIR}/wine-run.sh.in" "${CMAKE_BINARY_DIR}/wine-run.sh"
               FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE
               @ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_BINARY_DIR}/wine-run.sh")
