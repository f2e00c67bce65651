# Imports that are killed run in the program.
target_link_libraries(test_import PRIVATE ZLIB::ZLIB)
add_dependencies(test_import qm_tool)
