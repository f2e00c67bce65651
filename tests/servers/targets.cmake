# Servers that are stopped in the middle of their work are the tests' own.
target_compile_definitions(test_servers PRIVATE QM_SERVERS="${PROJECT_SOURCE_DIR}/scripts/servers")
add_dependencies(test_servers qm_tool)
