// TextSource: the bytes of an import file, decompressed when it is gzip data (told by its first
// bytes, never by its name), with seeking. `ScanText` reads a whole file once and says whether it
// can be imported.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace qm {

enum FileErrorNumber : std::int32_t {
  kErrFileNotFound = 53,
  kErrDevice = 57,
  kErrPathAccess = 75,
  kErrFileFormat = 321
};

/// Raises an error that begins with the file's name.
[[noreturn]] void RaiseFile(std::int32_t number, const std::filesystem::path& file,
                            const std::string& what);

class TextSource {
 public:
  /// 53 when the file is missing, 75 when it is no regular file or cannot be opened.
  explicit TextSource(std::filesystem::path file);
  ~TextSource();
  TextSource(const TextSource&) = delete;
  TextSource& operator=(const TextSource&) = delete;

  /// The next bytes, fewer than asked for only at the end. 57 when reading fails, 321 when gzip
  /// data are damaged or end too early.
  std::size_t Read(char* buffer, std::size_t size);
  /// To an offset in the text. Backwards in gzip data it reads from the start.
  void Seek(std::int64_t offset);

 private:
  struct Handle;
  std::filesystem::path file_;
  std::unique_ptr<Handle> handle_;
};

struct TextScan {
  std::string digest;      ///< of the text, as hexadecimal digits
  std::int64_t start = 0;  ///< where the first line begins: behind a byte-order mark
  std::int64_t size = 0;
  bool utf8 = true;
};

/// 321 when the file holds a NUL byte, naming the line; when it is not UTF-8 and more than one in a
/// hundred of its first bytes are control characters; when it is empty and named as a gzip file.
TextScan ScanText(const std::filesystem::path& file);

}  // namespace qm
