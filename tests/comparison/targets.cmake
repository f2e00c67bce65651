# Comparison libraries to load: a whole one and one that lacks a function.
foreach(name sample_library partial_library)
  add_library(${name} MODULE comparison/library/sample_library.cpp)
  qm_options(${name})
endforeach()
target_compile_definitions(partial_library PRIVATE QM_SAMPLE_WITHOUT_SOUNDEX)
target_compile_definitions(test_comparison PRIVATE
  QM_SAMPLE_LIBRARY="$<TARGET_FILE:sample_library>" QM_PARTIAL_LIBRARY="$<TARGET_FILE:partial_library>"
  QM_NAMES="${PROJECT_SOURCE_DIR}/data/names")
add_dependencies(test_comparison sample_library partial_library qm_tool)
