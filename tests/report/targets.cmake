# The report and its decisions go through the program.
add_dependencies(test_report qm_tool)
