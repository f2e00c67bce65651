// ExportFile: where an export goes. Order of calls: make one, `Write` any number of times,
// `Commit`; without it a file is not there.
#pragma once

#include <filesystem>
#include <memory>
#include <ostream>
#include <string_view>

namespace qm {

class ExportFile {
 public:
  /// A file that only its owner can read, compressed when its name ends in ".gz". 58 when it is
  /// there and shall not be replaced, 75 when it cannot be written or is no regular file. Behind a
  /// symbolic link the file it leads to is meant.
  ExportFile(const std::filesystem::path& file, bool replace);
  /// A stream of the caller's, as it is. 57 when it takes no more.
  explicit ExportFile(std::ostream& stream);
  ~ExportFile();

  void Write(std::string_view bytes);
  void Commit();

 private:
  struct Place;
  class Gzip;

  void WriteThrough(std::string_view bytes);

  std::unique_ptr<Place> place_;  ///< none for a stream of the caller's
  std::ostream* stream_;
  std::unique_ptr<Gzip> gzip_;
};

}  // namespace qm
