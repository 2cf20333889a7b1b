# The user-interface tests drive widgets with QTest.
find_package(Qt6 REQUIRED COMPONENTS Test)
target_link_libraries(${exe} PRIVATE Qt6::Test)
# The gallery's pages are rendered to pictures when the gallery is built.
if(TARGET pavo_gallery_pages)
  target_link_libraries(${exe} PRIVATE pavo_gallery_pages)
  target_compile_definitions(${exe} PRIVATE PAVO_HAVE_GALLERY=1)
endif()
