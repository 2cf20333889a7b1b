# The checksum and compression tests compare against zlib itself.
target_link_libraries(${exe} PRIVATE ZLIB::ZLIB)
