# The libraries that the project stands on, as the same targets on every platform: from packages, or
# for Windows from the sources that scripts/get-inputs laid down.

if(NOT MINGW)
  find_package(SQLite3 REQUIRED)
  find_package(ODBC REQUIRED)
  find_package(ZLIB REQUIRED)
  find_package(pugixml REQUIRED)
  return()
endif()

set(QM_INPUTS ${PROJECT_SOURCE_DIR}/build/inputs CACHE PATH "Where scripts/get-inputs put its sources")
if(NOT EXISTS ${QM_INPUTS}/sqlite3/sqlite3.c)
  message(FATAL_ERROR "The libraries' sources are missing: run scripts/setup windows")
endif()
enable_language(C)

add_library(qm_sqlite3 STATIC ${QM_INPUTS}/sqlite3/sqlite3.c)
add_library(SQLite::SQLite3 ALIAS qm_sqlite3)
target_include_directories(qm_sqlite3 SYSTEM PUBLIC ${QM_INPUTS}/sqlite3)
# An update finds its row by the names of the columns' tables.
target_compile_definitions(qm_sqlite3 PRIVATE SQLITE_ENABLE_COLUMN_METADATA SQLITE_THREADSAFE=1
  SQLITE_OMIT_LOAD_EXTENSION)
target_compile_options(qm_sqlite3 PRIVATE -w)

add_library(qm_pugixml STATIC ${QM_INPUTS}/pugixml/pugixml.cpp)
add_library(pugixml::pugixml ALIAS qm_pugixml)
target_include_directories(qm_pugixml SYSTEM PUBLIC ${QM_INPUTS}/pugixml)

add_library(CLI11::CLI11 INTERFACE IMPORTED)
target_include_directories(CLI11::CLI11 INTERFACE ${QM_INPUTS}/include)

# The platform's driver manager.
add_library(ODBC::ODBC INTERFACE IMPORTED)
target_link_libraries(ODBC::ODBC INTERFACE odbc32)

find_library(QM_ZLIB libz.a REQUIRED)
add_library(ZLIB::ZLIB STATIC IMPORTED)
set_target_properties(ZLIB::ZLIB PROPERTIES IMPORTED_LOCATION ${QM_ZLIB})
