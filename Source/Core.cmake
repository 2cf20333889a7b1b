# Extra dependencies of the core folders (included from Source/CMakeLists.txt).
pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
target_link_libraries(PavoCore PRIVATE PkgConfig::PLIST)
