# The user-interface tests drive widgets with QTest.
find_package(Qt6 REQUIRED COMPONENTS Test)
target_link_libraries(${exe} PRIVATE Qt6::Test)
