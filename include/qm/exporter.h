// Exporter: records of the registry become a file of fixed-width NAACCR records that other
// registries, and `Importer`, take.
//
// Order of calls: a session with registry and control database; one exporter; `ExportAbstracts` or
// `ExportTumors` once for each file. The records are those of the identifiers given, in that order,
// or all of them by ascending identifier, as the registry holds them at the beginning.
//
// A record is what `QMDataSets` makes of it (`CreateFacilityNAACCRBuffer`,
// `CreateConsolidatedNAACCRBuffer`) in the layout chosen, but an item that the registry holds empty
// stays blank even where its code pads with zeros. It carries that layout's version code unless it
// holds one that the layout accepts, and is cut to the length of its own record type; one without a
// known type is written as an abstract record. A control character other than a tab becomes a
// blank. The file is UTF-8, built aside and put in place when complete, readable by its owner
// alone; a path that ends in ".gz" is compressed.
//
// Memory does not grow with the file. An exporter belongs to the thread that made it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <memory>
#include <span>
#include <string>

#include <qm/api.h>

namespace qm {

struct ExportOptions {
  /// The layout of the file ("18", "11.3"); empty: the newest one of the control database.
  std::string version;
  /// CR LF instead of LF behind each record.
  bool crlf = false;
  /// Replace a file that is there already; otherwise it is error 58.
  bool replace = false;
  /// Called after each record with the records done and their total.
  std::function<void(std::int64_t done, std::int64_t total)> progress;
};

struct ExportSummary {
  std::int64_t records = 0;
};

class QM_API Exporter {
 public:
  explicit Exporter(ExportOptions options = {});
  ~Exporter();
  Exporter(Exporter&&) noexcept;
  Exporter& operator=(Exporter&&) noexcept;

  /// The facilities' reports of those abstracts; none given: of all. An identifier that is not
  /// there is 3021 and names it; a record with bytes that are no text is 321; 75 when the file
  /// cannot be written, or is no regular file, naming it; a layout that is not there is an error
  /// that names it. Failures of a record are base + 1107. Nothing is left behind by a failure.
  ExportSummary ExportAbstracts(std::span<const std::int32_t> ids,
                                const std::filesystem::path& file);
  /// The consolidated records of those tumors with their patients. A tumor without its patient is
  /// 3021; failures of a record are base + 1108.
  ExportSummary ExportTumors(std::span<const std::int32_t> ids, const std::filesystem::path& file);

  /// The same to a stream, uncompressed. What was written before a failure stays there; 57 when the
  /// stream takes no more.
  ExportSummary ExportAbstracts(std::span<const std::int32_t> ids, std::ostream& out);
  ExportSummary ExportTumors(std::span<const std::int32_t> ids, std::ostream& out);

  /// The identifier in work when an export failed; 0 while there is none.
  std::int32_t RecordInWork() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qm
