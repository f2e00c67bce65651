# Turns data/*.csv into a source file, so that the library carries them.

file(GLOB qm_data_files CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/data/layouts/*.csv ${PROJECT_SOURCE_DIR}/data/names/*.csv)
set(QM_GENERATED_SOURCES ${PROJECT_BINARY_DIR}/generated/shipped_files.cpp)
add_custom_command(
  OUTPUT ${QM_GENERATED_SOURCES}
  COMMAND ${CMAKE_COMMAND} -DDATA=${PROJECT_SOURCE_DIR}/data -DOUTPUT=${QM_GENERATED_SOURCES}
    -P ${PROJECT_SOURCE_DIR}/setup/embed_files.cmake
  DEPENDS ${qm_data_files} ${PROJECT_SOURCE_DIR}/setup/embed_files.cmake
  COMMENT "Embedding layouts and names"
  VERBATIM)
