# Extra dependencies of the user-interface folders (included from Source/CMakeLists.txt).
pkg_check_modules(XKBCOMMON REQUIRED IMPORTED_TARGET xkbcommon)
target_link_libraries(PavoUI PRIVATE PkgConfig::XKBCOMMON)
