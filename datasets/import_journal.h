// ImportJournal: the row of QMImports that keeps how far one file was imported. It is read and
// written inside the transaction that stores the records, so that it is never ahead or behind.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qm {

struct ImportState {
  std::int64_t lines = 0;  ///< lines done, from the first
  std::int64_t bytes = 0;  ///< offset of the first line that is not done
  std::int64_t imported = 0;
  std::int64_t rejected = 0;
  bool finished = false;
};

class ImportJournal {
 public:
  ImportJournal(std::string digest, std::string file_name);

  /// Nothing when the file was never begun.
  std::optional<ImportState> Read() const;
  void Write(const ImportState& state) const;

 private:
  std::string query_;
  std::string digest_;
  std::string file_name_;
};

}  // namespace qm
