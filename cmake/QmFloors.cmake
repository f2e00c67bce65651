# The folders of the library, each one target, gathered into one library `QMDataObjects2`.

set(QM_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual -Wcast-align -Wextra-semi)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  list(APPEND QM_WARNINGS -Wno-restrict) # false alarms on std::string + in optimised builds
endif()
if(QM_WARNINGS_AS_ERRORS)
  list(APPEND QM_WARNINGS -Werror)
endif()
set(QM_SANITIZERS -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
set(QM_FLOORS "")

# Options that every target of the project compiles with.
function(qm_options target)
  target_compile_options(${target} PRIVATE ${QM_WARNINGS})
  target_compile_definitions(${target} PRIVATE $<$<CONFIG:Debug>:QM_DEBUG>)
  if(QM_SANITIZE)
    target_compile_options(${target} PRIVATE ${QM_SANITIZERS})
    target_link_options(${target} PRIVATE ${QM_SANITIZERS})
  endif()
endfunction()

# qm_floor(FOLDER [USES folder…] [LINKS library…]): the sources of a folder of the library.
# Sources include "folder/header.h" of the folders below and <qm/header.h>.
function(qm_floor folder)
  cmake_parse_arguments(ARG "" "" "USES;LINKS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
  if(EXISTS ${PROJECT_SOURCE_DIR}/${folder}/generate.cmake)
    include(${PROJECT_SOURCE_DIR}/${folder}/generate.cmake)
    set_source_files_properties(${QM_GENERATED_SOURCES} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    list(APPEND sources ${QM_GENERATED_SOURCES})
  endif()
  if(NOT sources)
    return()
  endif()
  add_library(qm_${folder} OBJECT ${sources})
  set_target_properties(qm_${folder} PROPERTIES POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(qm_${folder} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(qm_${folder} PRIVATE ${ARG_LINKS})
  qm_options(qm_${folder})
  set(QM_FLOORS ${QM_FLOORS} ${folder} PARENT_SCOPE)
endfunction()

# The one library that users link: static, or shared with BUILD_SHARED_LIBS.
function(qm_library)
  set(objects "")
  foreach(folder IN LISTS QM_FLOORS)
    list(APPEND objects $<TARGET_OBJECTS:qm_${folder}>)
  endforeach()
  add_library(QMDataObjects2 ${objects})
  add_library(QMDataObjects::qm ALIAS QMDataObjects2)
  set_target_properties(QMDataObjects2 PROPERTIES EXPORT_NAME qm LINKER_LANGUAGE CXX
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  target_compile_features(QMDataObjects2 PUBLIC cxx_std_20)
  target_include_directories(QMDataObjects2 PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:include>)
  target_link_libraries(QMDataObjects2 PRIVATE SQLite::SQLite3 ODBC::ODBC ZLIB::ZLIB pugixml::pugixml ${CMAKE_DL_LIBS})
  if(QM_SANITIZE)
    target_link_options(QMDataObjects2 PUBLIC ${QM_SANITIZERS})
  endif()

  # What the program and the tests link: all of the library, also what a shared one hides.
  add_library(qm_whole INTERFACE)
  if(BUILD_SHARED_LIBS)
    add_library(qm_static STATIC EXCLUDE_FROM_ALL ${objects})
    target_include_directories(qm_static PUBLIC ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(qm_static PUBLIC SQLite::SQLite3 ODBC::ODBC ZLIB::ZLIB pugixml::pugixml ${CMAKE_DL_LIBS})
    target_link_libraries(qm_whole INTERFACE qm_static)
  else()
    target_link_libraries(qm_whole INTERFACE QMDataObjects2)
  endif()
endfunction()
