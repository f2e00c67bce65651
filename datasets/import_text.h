// The alphabets of import files: UTF-8, checked while a file streams by, and Windows-1252.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qm {

/// What no record may hold. A tabulator may stand: it counts as the one character that it is.
bool IsControlCharacter(char c);
bool HasControlCharacter(std::string_view text);

/// Whether the bytes fed so far are UTF-8, wherever the pieces were cut.
class Utf8Check {
 public:
  void Update(std::string_view bytes);
  /// At the end: valid, and no character left open.
  bool Complete() const { return valid_ && open_.empty(); }

 private:
  std::string open_;  ///< the first bytes of a character that goes on in the next piece
  bool valid_ = true;
};

/// The text in UTF-8; nothing when it holds one of the five bytes that Windows-1252 leaves open.
std::optional<std::string> DecodeWindows1252(std::string_view bytes);

}  // namespace qm
