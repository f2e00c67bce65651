# The program's parts that are tested by themselves.
find_package(CLI11 REQUIRED)
target_sources(test_tool PRIVATE ${PROJECT_SOURCE_DIR}/tool/result_writer.cpp
  ${PROJECT_SOURCE_DIR}/tool/report_error.cpp)
target_link_libraries(test_tool PRIVATE CLI11::CLI11)
add_dependencies(test_tool qm_tool)
