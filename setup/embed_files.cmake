# cmake -DDATA=folder -DOUTPUT=file.cpp -P embed_files.cmake: writes a source file that holds every
# CSV file below the folder. Texts stand in pieces, since compilers promise no string literal of
# more than 64 KiB.

set(piece_length 30000)
file(GLOB_RECURSE files RELATIVE ${DATA} ${DATA}/*.csv)
list(SORT files)

set(definitions "")
set(entries "")
set(number 0)
foreach(name IN LISTS files)
  file(READ ${DATA}/${name} text)
  string(LENGTH "${text}" length)
  string(APPEND definitions "constexpr std::string_view kPieces${number}[] = {\n")
  set(position 0)
  while(position LESS length)
    string(SUBSTRING "${text}" ${position} ${piece_length} piece)
    string(APPEND definitions "R\"qm(${piece})qm\",\n")
    math(EXPR position "${position} + ${piece_length}")
  endwhile()
  string(APPEND definitions "};\n")
  string(APPEND entries "    {\"${name}\", kPieces${number}},\n")
  math(EXPR number "${number} + 1")
endforeach()

file(WRITE ${OUTPUT}.new "// Made from data/ by setup/embed_files.cmake.
#include \"setup/shipped_files.h\"

namespace qm {

namespace {

${definitions}
constexpr ShippedFile kShippedFiles[] = {
${entries}};

}  // namespace

std::span<const ShippedFile> ShippedFiles() { return kShippedFiles; }

}  // namespace qm
")
file(RENAME ${OUTPUT}.new ${OUTPUT})
