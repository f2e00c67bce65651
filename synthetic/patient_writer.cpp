#include "synthetic/patient_writer.h"

#include <utility>

#include "dataaccess/sql_text.h"
#include "synthetic/record_line.h"

namespace qm {

namespace {

// Long statements cost less a row; this is well below what any engine takes.
constexpr std::size_t kStatementLength = 100000;

// Tables 1 and 2 of these families have the codes 1 and 2.
std::int16_t TableCode(const NAACCRLayout& layout, std::int16_t index, bool tumor) {
  return tumor ? layout.FieldMedTable(index) : layout.FieldPatTable(index);
}

}  // namespace

PatientWriter::PatientWriter(std::shared_ptr<Connection> registry, const NAACCRLayout& layout)
    : registry_(std::move(registry)),
      layout_(layout),
      tables_{{{"Patients", "PatientID, Soundex", false, 1, {}, {}, {}},
               {"Patients_2", "PatientID", false, 2, {}, {}, {}},
               {"MedicalSum", "MedRefID, PatientID", true, 1, {}, {}, {}},
               {"MedicalSum_2", "MedRefID", true, 2, {}, {}, {}}}} {}

void PatientWriter::ChooseColumns(Table& table, const ItemValues& items) const {
  table.heading = "INSERT INTO ";
  table.heading.append(table.name).append(" (").append(table.keys);
  for (std::size_t item = 0; item < items.size(); ++item) {
    const auto index = layout_.IndexByNAACCRItemNo(static_cast<std::int16_t>(items[item].first));
    if (index < 1 || TableCode(layout_, index, table.tumor) != table.number) continue;
    table.columns.push_back({item, index});
    table.heading += ", " + layout_.FieldName(index);
  }
  table.heading += ") VALUES ";
}

void PatientWriter::AddRow(Table& table, const std::string& keys, const ItemValues& items) {
  if (table.heading.empty()) ChooseColumns(table, items);
  table.rows += table.rows.empty() ? "(" : ", (";
  table.rows += keys;
  for (const Column& column : table.columns) {
    table.rows += ", ";
    AppendSqlText(table.rows, StoredValue(layout_, column.index, items[column.item].second));
  }
  table.rows += ')';
  if (table.rows.size() >= kStatementLength) Write(table);
}

void PatientWriter::Write(Table& table) {
  if (table.rows.empty()) return;
  registry_->Execute(table.heading + table.rows);
  table.rows.clear();
}

void PatientWriter::Add(std::int64_t patient_id, std::int64_t tumor_id, const std::string& soundex,
                        const ItemValues& patient, const ItemValues& tumor) {
  const std::string patient_key = std::to_string(patient_id);
  const std::string tumor_key = std::to_string(tumor_id);
  AddRow(tables_[0], patient_key + ", " + SqlText(soundex), patient);
  AddRow(tables_[1], patient_key, patient);
  AddRow(tables_[2], tumor_key + ", " + patient_key, tumor);
  AddRow(tables_[3], tumor_key, tumor);
}

void PatientWriter::Flush() {
  for (Table& table : tables_) Write(table);
}

}  // namespace qm
