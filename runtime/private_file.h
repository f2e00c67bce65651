// PrivateFile: a new file that only its owner can read, put in place when it is complete.
//
// Order of calls: make one for the path wanted, write to `Stream`, `Commit`. Until then the data
// stand beside it under a name of this process; without `Commit` they are removed. A file that is
// already at that path is replaced. Failures are error 75 and name the path.
#pragma once

#include <filesystem>
#include <fstream>
#include <ostream>

namespace qm {

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
