# Turns review/assets into a source file, so that the library carries the review page.

set(qm_report_script labels values differences decisions pair scores paper page)
list(TRANSFORM qm_report_script PREPEND ${PROJECT_SOURCE_DIR}/review/assets/)
list(TRANSFORM qm_report_script APPEND .js)
set(qm_report_assets ${PROJECT_SOURCE_DIR}/review/assets/report.html
  ${PROJECT_SOURCE_DIR}/review/assets/report.css ${qm_report_script})
set(QM_GENERATED_SOURCES ${PROJECT_BINARY_DIR}/generated/report_assets.cpp)
add_custom_command(
  OUTPUT ${QM_GENERATED_SOURCES}
  COMMAND ${CMAKE_COMMAND} -DASSETS=${PROJECT_SOURCE_DIR}/review/assets
    "-DSCRIPT=${qm_report_script}" -DOUTPUT=${QM_GENERATED_SOURCES}
    -P ${PROJECT_SOURCE_DIR}/review/embed_assets.cmake
  DEPENDS ${qm_report_assets} ${PROJECT_SOURCE_DIR}/review/embed_assets.cmake
  COMMENT "Embedding the review page"
  VERBATIM)
