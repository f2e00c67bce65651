#include "datasets/import_journal.h"

#include <qm/connection.h>
#include <qm/conversions.h>
#include <qm/recordset.h>

#include <utility>

#include "session/session_state.h"

namespace qm {

namespace {

std::shared_ptr<Recordset> OpenRow(const std::string& query) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  auto row = registry->CreateRecordset();
  row->Open(query, registry, kOpenKeyset, kLockOptimistic);
  return row;
}

// Offsets pass 2 GiB.
std::int64_t WholeNumber(const Variant& value) {
  const auto* wide = value.GetIf<std::int64_t>();
  return wide != nullptr ? *wide : ToInt32(value);
}

}  // namespace

ImportJournal::ImportJournal(std::string digest, std::string file_name)
    : query_("SELECT * FROM QMImports WHERE Digest = '" + digest + "'"),
      digest_(std::move(digest)),
      file_name_(std::move(file_name)) {}

std::optional<ImportState> ImportJournal::Read() const {
  const auto row = OpenRow(query_);
  if (row->Eof()) return std::nullopt;
  ImportState state;
  state.lines = WholeNumber(row->Value("LinesDone"));
  state.bytes = WholeNumber(row->Value("BytesDone"));
  state.imported = WholeNumber(row->Value("Imported"));
  state.rejected = WholeNumber(row->Value("Rejected"));
  state.finished = ToBool(row->Value("Finished"));
  return state;
}

void ImportJournal::Write(const ImportState& state) const {
  const auto row = OpenRow(query_);
  if (row->Eof()) {
    row->AddNew();
    row->SetValue("Digest", digest_);
  }
  row->SetValue("FileName", file_name_);
  row->SetValue("LinesDone", state.lines);
  row->SetValue("BytesDone", state.bytes);
  row->SetValue("Imported", state.imported);
  row->SetValue("Rejected", state.rejected);
  row->SetValue("Finished", std::int32_t{state.finished ? 1 : 0});
  row->Update();
  row->Close();
}

}  // namespace qm
