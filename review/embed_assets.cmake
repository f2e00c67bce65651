# cmake -DASSETS=folder "-DSCRIPT=a.js;b.js" -DOUTPUT=file.cpp -P embed_assets.cmake: writes a source
# file that holds the review page: its document, its style and its script, which is the files given,
# one behind the other. The assets are plain ASCII.

set(piece_length 30000)

function(embed function_name)
  set(text "")
  foreach(file IN LISTS ARGN)
    file(READ ${file} part)
    string(APPEND text "${part}")
  endforeach()
  string(LENGTH "${text}" length)
  set(position 0)
  set(pieces "")
  while(position LESS length)
    string(SUBSTRING "${text}" ${position} ${piece_length} piece)
    string(APPEND pieces "R\"qm(${piece})qm\",\n")
    math(EXPR position "${position} + ${piece_length}")
  endwhile()
  file(APPEND ${OUTPUT}.new "TextPieces ${function_name}() {
  static constexpr std::string_view kPieces[] = {
${pieces}};
  return kPieces;
}

")
endfunction()

file(WRITE ${OUTPUT}.new "// Made from review/assets by review/embed_assets.cmake.
#include \"review/report_assets.h\"

namespace qm {

")
embed(ReportDocument ${ASSETS}/report.html)
embed(ReportStyle ${ASSETS}/report.css)
embed(ReportScript ${SCRIPT})
file(APPEND ${OUTPUT}.new "}  // namespace qm\n")
file(RENAME ${OUTPUT}.new ${OUTPUT})
