# The library that the comparison's tests build.
target_compile_definitions(test_matching PRIVATE QM_SAMPLE_LIBRARY="$<TARGET_FILE:sample_library>")
add_dependencies(test_matching sample_library)
