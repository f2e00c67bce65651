#include <qm/audit_log.h>
#include <qm/connection.h>
#include <qm/error.h>
#include <qm/importer.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

#include "datasets/import_journal.h"
#include "datasets/import_layouts.h"
#include "datasets/import_lines.h"
#include "datasets/import_reader.h"
#include "datasets/import_source.h"
#include "datasets/import_store.h"
#include "runtime/path_text.h"
#include "runtime/private_file.h"
#include "session/audit_writer.h"
#include "session/own_tables.h"
#include "session/session_state.h"

namespace qm {

namespace fs = std::filesystem;

namespace {

// An empty line at the end, or the end mark of old systems, is no line.
bool IsFileEnd(const RawLine& line, std::int64_t offset, std::int64_t size) {
  return offset == size && (line.bytes.empty() || (line.bytes == "\x1A" && line.end.empty()));
}

bool SameContent(const fs::path& a, const fs::path& b) {
  std::ifstream left(a, std::ios::binary);
  std::ifstream right(b, std::ios::binary);
  using Bytes = std::istreambuf_iterator<char>;
  return left && right && std::equal(Bytes(left), Bytes(), Bytes(right), Bytes());
}

// Moves a file of rejects out of the way, to the first free name with a number.
void KeepUnderNumber(const fs::path& file) {
  for (int number = 1;; ++number) {
    fs::path kept = file;
    kept += "." + std::to_string(number);
    if (fs::exists(kept)) continue;
    std::error_code failure;
    fs::rename(file, kept, failure);
    if (failure) RaiseFile(kErrPathAccess, file, "cannot be renamed");
    return;
  }
}

fs::path RejectsOf(const fs::path& file, const ImportOptions& options) {
  if (!options.rejects.empty()) return options.rejects;
  fs::path path = file;
  return path += ".rejects";
}

// The rejects would take the file's place.
void RequireApart(const fs::path& file, const fs::path& rejects) {
  std::error_code missing;
  if (fs::equivalent(file, rejects, missing)) {
    RaiseFile(kErrPathAccess, file, "is named as its own rejects file, which would replace it");
  }
}

// One file on its way into the registry.
class FileImport {
 public:
  FileImport(const fs::path& file, const ImportOptions& options, ImportLayouts& layouts,
             std::int64_t& line)
      : options_(options),
        file_(file),
        rejects_(RejectsOf(file, options)),
        scan_(ScanText(file)),
        source_(file),
        lines_(source_),
        reader_(layouts, scan_.utf8),
        journal_(scan_.digest, PathText(file.filename())),
        line_(line) {}

  ImportSummary Run() {
    ImportSummary summary;
    ImportState state = Begin(summary.already_imported);
    if (!summary.already_imported) {
      summary.resumed_at = state.lines;
      while (StoreBatch(state)) {
      }
      line_ = 0;
      if (state.rejected > 0) WriteRejects();
      Finish(state);
    }
    summary.imported = state.imported;
    summary.rejected = state.rejected;
    if (state.rejected > 0 && fs::exists(rejects_)) summary.rejects = rejects_;
    return summary;
  }

 private:
  ImportState Begin(bool& already_imported) {
    Transaction transaction(CurrentSession().gcnRegistry.Get());
    std::optional<ImportState> state = journal_.Read();
    // A file of which nothing was taken, by a wrong layout for instance, is not done.
    already_imported = state && state->finished && state->imported > 0 && !options_.again;
    if (already_imported || (state && !state->finished)) return *state;
    ImportState fresh;
    fresh.bytes = scan_.start;
    journal_.Write(fresh);
    transaction.Commit();
    return fresh;
  }

  // One transaction; false when nothing is left. The journal is read anew in each, since another
  // import of the same file may have gone on from where this one stood.
  bool StoreBatch(ImportState& state) {
    Transaction transaction(CurrentSession().gcnRegistry.Get());
    state = journal_.Read().value_or(ImportState{0, scan_.start, 0, 0, false});
    if (state.finished) return false;
    if (lines_.Offset() != state.bytes) lines_.SeekTo(state.bytes, state.lines);
    AuditWriter audit;
    bool more = true;
    RawLine line;
    for (std::int32_t n = 0; n < std::max(options_.batch, 1) && (more = NextLine(line)); ++n) {
      if (reader_.Check(line).empty()) {
        const std::int32_t id = StoreImportRecord(reader_.Record());
        audit.Write(
            {"import", "abstract", id, "line " + std::to_string(line.number), PathText(file_)});
        ++state.imported;
      } else {
        lines_.Rest([](std::string_view) {});
        ++state.rejected;
      }
    }
    state.lines = lines_.Lines();
    state.bytes = lines_.Offset();
    journal_.Write(state);
    transaction.Commit();
    if (options_.progress) options_.progress({state.bytes, scan_.size, state.lines});
    return more;
  }

  bool NextLine(RawLine& line) {
    const bool found = lines_.Next(line);
    if (!found && lines_.Offset() != scan_.size) {
      RaiseFile(kErrDevice, file_, "changed while it was imported");
    }
    if (!found || IsFileEnd(line, lines_.Offset(), scan_.size)) return false;
    line_ = line.number;
    return true;
  }

  // What is rejected follows from the file alone: the rejects are written when all is stored, in
  // one go, so that an interruption leaves none of them twice and none out.
  void WriteRejects() {
    PrivateFile rejects(rejects_);
    lines_.SeekTo(scan_.start, 0);
    RawLine line;
    while (NextLine(line)) {
      const std::string reason = reader_.Check(line);
      if (reason.empty()) continue;
      std::ostream& out = rejects.Stream();
      out << "# line " << line.number << ": " << reason << '\n' << line.bytes << line.end;
      lines_.Rest([&out](std::string_view rest) { out << rest; });
    }
    line_ = 0;
    if (fs::exists(rejects_) && !SameContent(rejects_, rejects.Close())) KeepUnderNumber(rejects_);
    rejects.Commit();
  }

  void Finish(ImportState& state) {
    Transaction transaction(CurrentSession().gcnRegistry.Get());
    state = journal_.Read().value_or(state);
    state.finished = true;
    journal_.Write(state);
    transaction.Commit();
  }

  const ImportOptions& options_;
  fs::path file_;
  fs::path rejects_;
  TextScan scan_;
  TextSource source_;
  LineReader lines_;
  FixedWidthReader reader_;
  ImportJournal journal_;
  std::int64_t& line_;
};

}  // namespace

struct Importer::State {
  ImportOptions options;
  std::optional<ImportLayouts> layouts;
  std::int64_t line = 0;
};

Importer::Importer(ImportOptions options) : state_(std::make_unique<State>()) {
  state_->options = std::move(options);
}

Importer::~Importer() = default;
Importer::Importer(Importer&&) noexcept = default;
Importer& Importer::operator=(Importer&&) noexcept = default;

ImportSummary Importer::ImportFile(const fs::path& file) {
  state_->line = 0;
  RequireApart(file, RejectsOf(file, state_->options));
  EnsureOwnTables();
  if (!state_->layouts) state_->layouts.emplace(state_->options.version);
  ImportSummary summary = FileImport(file, state_->options, *state_->layouts, state_->line).Run();
  state_->line = 0;
  return summary;
}

std::int64_t Importer::Line() const { return state_->line; }

}  // namespace qm
