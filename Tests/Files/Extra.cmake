# The audio file tests compare against libsndfile as an independent peer.
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
target_link_libraries(${exe} PRIVATE PkgConfig::SNDFILE)
