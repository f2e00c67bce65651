# The script is run with the program under test.
target_compile_definitions(test_flow PRIVATE QM_FLOW="${PROJECT_SOURCE_DIR}/scripts/flow")
add_dependencies(test_flow qm_tool)
