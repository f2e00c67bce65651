// PrivateFile: a new file that only its owner can read, put in place when it is complete.
//
// Order of calls: make one for the path wanted, write to `Stream`, `Commit`. Until then the data
// stand beside it under a name of this process; without `Commit` they are removed. A file that is
// already at that path is replaced. Failures are error 75 and name the path. What a killed process
// left of the same file is removed when the next one is begun.
#pragma once

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

namespace qm {

/// The files or folders that processes left behind by ending early: those beside `beginning` whose
/// names continue it with the number of a process that is gone or of this one, and perhaps a "-"
/// and more. Never fails.
std::vector<std::filesystem::path> Leftovers(const std::filesystem::path& beginning,
                                             std::filesystem::file_type type);

/// The number of this process, for such names.
std::string ProcessNumber();

class PrivateFile {
 public:
  explicit PrivateFile(std::filesystem::path path);
  ~PrivateFile();
  PrivateFile(const PrivateFile&) = delete;
  PrivateFile& operator=(const PrivateFile&) = delete;

  std::ostream& Stream() { return stream_; }
  /// Closes the data and where they stand until `Commit`.
  const std::filesystem::path& Close();
  void Commit();

 private:
  std::filesystem::path path_;
  std::filesystem::path partial_;
  std::ofstream stream_;
  bool committed_ = false;
};

}  // namespace qm
