#include <qm/exporter.h>

#include <qm/conversions.h>
#include <qm/error.h>

#include <algorithm>
#include <ostream>
#include <utility>

#include "datasets/export_buffers.h"
#include "datasets/export_file.h"
#include "datasets/import_layouts.h"
#include "datasets/import_source.h"
#include "datasets/import_text.h"
#include "records/record_family.h"
#include "runtime/text.h"
#include "session/session_state.h"

namespace qm {

namespace {

constexpr const char* kSource = "QMDataObjects2";
constexpr std::string_view kAbstractType = "A";

[[noreturn]] void RaiseMissing(const std::string& what) {
  throw Error(kErrNoCurrentRecord, kSource, what);
}

std::shared_ptr<Recordset> OpenForward(const std::string& query) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  auto rows = registry->CreateRecordset();
  rows->Open(query, registry, kOpenForwardOnly, kLockReadOnly);
  return rows;
}

// While a stream is open, every read of the connection shows what the registry held when it was
// opened. This one stays open, whatever its reader has in advance, since it has rows to spare.
std::shared_ptr<Recordset> HoldState(const RecordFamily& family) {
  return OpenForward("SELECT " + std::string(family.key) + " FROM " + std::string(family.table) +
                     " UNION ALL SELECT NULL UNION ALL SELECT NULL UNION ALL SELECT NULL");
}

std::int64_t CountRows(const RecordFamily& family) {
  const auto row = OpenForward("SELECT count(*) FROM " + std::string(family.table));
  const std::int64_t count = ToInt32(row->Value(0));
  row->Close();
  return count;
}

// What an import would take for the end of a record or refuse.
void BlankControlCharacters(std::string& text) {
  if (!HasControlCharacter(text)) return;
  std::replace_if(text.begin(), text.end(), IsControlCharacter, ' ');
}

// Selecting by a condition finds any identifier, also those that mean "not given".
std::string Condition(const RecordFamily& family, std::int32_t id) {
  return std::string(family.key) + " = " + std::to_string(id);
}

RecordBuffer AbstractRecord(ImportLayout& layout, std::int32_t id) {
  Abstract abstract =
      layout.DataSets().GetAbstract(kNoId, kNoId, kNoId, Condition(kAbstractFamily, id));
  if (abstract.Eof()) RaiseMissing("abstract " + std::to_string(id) + " does not exist");
  return FacilityRecord(layout.Layout(), abstract, EmptyItems::kBlank);
}

RecordBuffer TumorRecord(ImportLayout& layout, std::int32_t id) {
  Tumor tumor = layout.DataSets().GetTumor(kNoId, kNoId, Condition(kTumorFamily, id));
  const std::string name = "tumor " + std::to_string(id);
  if (tumor.Eof()) RaiseMissing(name + " does not exist");
  const Variant patient_id = tumor.Recordset(1)->Value(kPatientFamily.key);
  if (patient_id.IsNull()) RaiseMissing(name + " has no patient");
  const std::int32_t number = ToInt32(patient_id);
  Patient patient = layout.DataSets().GetPatient(number, Condition(kPatientFamily, number));
  if (patient.Eof()) {
    RaiseMissing("patient " + ToText(patient_id) + " of " + name + " does not exist");
  }
  return ConsolidatedRecord(layout.Layout(), patient, tumor, EmptyItems::kBlank);
}

/// Of one family: its tables, and how one of its records is made.
struct Kind {
  const RecordFamily* family;
  RecordBuffer (*record)(ImportLayout& layout, std::int32_t id);
};

const Kind kAbstracts = {&kAbstractFamily, AbstractRecord};
const Kind kTumors = {&kTumorFamily, TumorRecord};

// The record's version, or the layout's own where the record holds none that the layout accepts.
void SetVersionCode(ImportLayout& layout, RecordBuffer& buffer, std::string_view text) {
  if (layout.version_column < 1) return;
  const auto first = static_cast<std::size_t>(layout.version_column) - 1;
  const bool accepted =
      std::any_of(layout.codes.begin(), layout.codes.end(), [&](const std::string& code) {
        return CharacterSlice(text, first, CharacterCount(code)) == code;
      });
  if (accepted) return;
  const std::string& code = layout.Layout().NAACCRExchgValue();
  buffer.Overwrite(layout.version_column, NarrowInt16(static_cast<double>(code.size())), code);
}

// The characters of the record's own type; one without a known type becomes an abstract record.
std::size_t SetRecordType(const ImportLayout& layout, RecordBuffer& buffer, std::string_view text) {
  if (layout.record_type_column < 1) return text.size();
  const auto column = static_cast<std::size_t>(layout.record_type_column) - 1;
  std::int32_t length = layout.RecordLength(CharacterSlice(text, column, 1));
  if (length == 0) {
    buffer.Overwrite(layout.record_type_column, 1, kAbstractType);
    length = layout.RecordLength(kAbstractType);
  }
  return static_cast<std::size_t>(std::max(length, 0));
}

std::string Line(ImportLayout& layout, RecordBuffer buffer) {
  const std::string text = buffer.Text();
  SetVersionCode(layout, buffer, text);
  std::string line = buffer.Text(SetRecordType(layout, buffer, text));
  BlankControlCharacters(line);
  if (!IsValidUtf8(line)) {
    throw Error(kErrFileFormat, kSource, "the record holds bytes that are no text in UTF-8");
  }
  return line;
}

}  // namespace

struct Exporter::State {
  ExportOptions options;
  std::optional<ImportLayouts> layouts;
  std::int32_t id = 0;

  ExportSummary Export(const Kind& kind, std::span<const std::int32_t> ids, ExportFile file) {
    id = 0;
    if (!layouts) layouts.emplace(options.version);
    ImportLayout& layout = layouts->Newest();
    layout.Layout();
    const auto held = HoldState(*kind.family);
    ExportSummary summary;
    const std::int64_t total =
        ids.empty() ? CountRows(*kind.family) : static_cast<std::int64_t>(ids.size());
    const auto write = [&](std::int32_t record) {
      id = record;
      file.Write(Line(layout, kind.record(layout, record)) + (options.crlf ? "\r\n" : "\n"));
      ++summary.records;
      if (options.progress) options.progress(summary.records, total);
    };
    if (ids.empty()) {
      WriteAll(*kind.family, write);
    } else {
      std::for_each(ids.begin(), ids.end(), write);
    }
    id = 0;
    file.Commit();
    return summary;
  }

  template <typename Write>
  static void WriteAll(const RecordFamily& family, const Write& write) {
    const std::string key(family.key);
    const auto keys =
        OpenForward("SELECT " + key + " FROM " + std::string(family.table) + " ORDER BY " + key);
    for (; !keys->Eof(); keys->MoveNext()) write(ToInt32(keys->Value(0)));
    keys->Close();
  }
};

Exporter::Exporter(ExportOptions options) : state_(std::make_unique<State>()) {
  state_->options = std::move(options);
}

Exporter::~Exporter() = default;
Exporter::Exporter(Exporter&&) noexcept = default;
Exporter& Exporter::operator=(Exporter&&) noexcept = default;

ExportSummary Exporter::ExportAbstracts(std::span<const std::int32_t> ids,
                                        const std::filesystem::path& file) {
  return state_->Export(kAbstracts, ids, ExportFile(file, state_->options.replace));
}

ExportSummary Exporter::ExportTumors(std::span<const std::int32_t> ids,
                                     const std::filesystem::path& file) {
  return state_->Export(kTumors, ids, ExportFile(file, state_->options.replace));
}

ExportSummary Exporter::ExportAbstracts(std::span<const std::int32_t> ids, std::ostream& out) {
  return state_->Export(kAbstracts, ids, ExportFile(out));
}

ExportSummary Exporter::ExportTumors(std::span<const std::int32_t> ids, std::ostream& out) {
  return state_->Export(kTumors, ids, ExportFile(out));
}

std::int32_t Exporter::RecordInWork() const { return state_->id; }

}  // namespace qm
