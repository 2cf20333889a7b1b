# The serialisation tests build keyed archives of their own with libplist, to feed the
# reader blocks that the writer never makes.
pkg_check_modules(TEST_PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
target_link_libraries(${exe} PRIVATE PkgConfig::TEST_PLIST)
# The audio file tests compare against libsndfile as an independent peer.
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
target_link_libraries(${exe} PRIVATE PkgConfig::SNDFILE)
