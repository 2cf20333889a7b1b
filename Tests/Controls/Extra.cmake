# The Controls tests drive real widgets with QTest input.
find_package(Qt6 REQUIRED COMPONENTS Test)
target_link_libraries(${exe} PRIVATE Qt6::Test)
