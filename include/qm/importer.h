// Importer: takes files of fixed-width NAACCR records into the registry of the calling thread's
// session. Every record becomes an abstract with the next identifier of counter "AbsRefID", in file
// order; the texts go into the memo column.
//
// Order of calls: connect (`QMConnection`), make one importer, `ImportFile` for each file. Layouts
// are loaded when the first record of their version is met; one file may mix versions.
//
// A file is plain or gzip text (told by its first bytes), UTF-8 or else Windows-1252, with LF or
// CRLF. It is read twice: a first pass refuses what is no readable text file (NUL bytes or other
// binary data, damaged gzip data) before anything is imported; the second stores the records,
// `batch` lines a transaction. A line that cannot be a record of a known version (length, version,
// record type, undecodable bytes, control characters) is rejected: it goes unchanged into the
// rejects file, below a line "# line N: reason", and the rest goes on.
//
// The table QMImports keeps how far a file was taken, by a digest of its content and in the same
// transaction as the records: an import that was interrupted at any moment goes on where it
// stopped, a file that was imported is not imported again (one of which every line was rejected
// is), and two imports of one file at the same time share the work. The rejects file is put in
// place at the end; one that is there already with other content is kept under the next free name
// with a number. Every record stored has its row in the audit log (<qm/audit_log.h>), in the same
// transaction. Both tables are made where the registry lacks them.
//
// Memory does not grow with the file. An importer belongs to the thread that made it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include <qm/api.h>

namespace qm {

/// How far an import has come; bytes are those of the text, after decompression.
struct ImportProgress {
  std::int64_t bytes_done = 0;
  std::int64_t bytes_total = 0;
  std::int64_t lines_done = 0;
};

struct ImportOptions {
  /// The layout of every record ("18", "11.3"); empty: each record's own version column tells.
  std::string version;
  /// Where rejected lines go; empty: the file's own path with ".rejects" added. Naming the file
  /// itself is error 75.
  std::filesystem::path rejects;
  /// Import a file that was imported before.
  bool again = false;
  /// Lines a transaction.
  std::int32_t batch = 500;
  /// Called after each transaction.
  std::function<void(const ImportProgress&)> progress;
};

struct ImportSummary {
  std::int64_t imported = 0;  ///< records of the whole file, those of an interrupted run included
  std::int64_t rejected = 0;
  std::int64_t resumed_at = 0;    ///< lines that an interrupted import had done already
  bool already_imported = false;  ///< the counts are those of the earlier import
  std::filesystem::path rejects;  ///< empty when no line was rejected
};

class QM_API Importer {
 public:
  explicit Importer(ImportOptions options = {});
  ~Importer();
  Importer(Importer&&) noexcept;
  Importer& operator=(Importer&&) noexcept;

  /// Imports one file. A file that cannot be read: 53 when it is missing, 75 when it cannot be
  /// opened or written, 57 when reading fails, 321 when it is no text file or damaged; each names
  /// the file. A missing counter or a layout that is not there is an error that names it. Errors
  /// of the databases pass unchanged; the transaction in work is rolled back, the finished ones
  /// stay and the next run goes on behind them.
  ImportSummary ImportFile(const std::filesystem::path& file);

  /// The line in work, from 1, when `ImportFile` failed; 0 while there is none.
  std::int64_t Line() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qm
