#include "upkeep/table_rows.h"

#include <charconv>
#include <cstddef>
#include <utility>

#include <qm/conversions.h>

#include "dataaccess/sql_text.h"
#include "datasets/import_digest.h"

namespace qm {

namespace {

// Long statements cost less a row; this is well below what any engine takes.
constexpr std::size_t kStatementLength = 100000;

template <typename Texts>
std::string Joined(const Texts& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + Bracketed(name);
  return list;
}

bool IsFraction(const Variant& value) {
  return value.Type() == VarType::kDouble || value.Type() == VarType::kSingle;
}

// A real number keeps all its digits.
std::string NumberText(const Variant& value) {
  if (!IsFraction(value)) return ToText(value);
  std::array<char, 40> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), ToDouble(value)).ptr;
  return {digits.data(), end};
}

// Whether every engine and its driver reads the text in quotes as it stands.
bool IsPlain(std::string_view text) {
  return text.find_first_of(std::string_view("\\\0", 2)) == std::string_view::npos;
}

void AppendLiteral(std::string& statement, const Variant& value) {
  if (value.IsNull()) {
    statement += "NULL";
  } else if (value.IsText()) {
    AppendSqlText(statement, value.Get<std::string>());
  } else {
    statement += NumberText(value);
  }
}

}  // namespace

std::string Bracketed(std::string_view name) { return "[" + std::string(name) + "]"; }

std::shared_ptr<Recordset> ReadRows(Connection& connection, const TableRows& table, bool ordered) {
  return connection.Execute(
      "SELECT " + Joined(table.columns) + " FROM " + Bracketed(table.name) +
      (ordered && !table.keys.empty() ? " ORDER BY " + Joined(table.keys) : ""));
}

std::int64_t CountRows(Connection& connection, std::string_view table) {
  const Variant count = connection.Execute("SELECT count(*) FROM " + Bracketed(table))->Value(0);
  const auto* large = count.GetIf<std::int64_t>();
  return large != nullptr ? *large : ToInt32(count);
}

void TableDigest::Add(const Recordset& row) {
  Digest digest;
  const int count = row.FieldCount();
  for (int i = 0; i < count; ++i) {
    const Variant value = row.Value(i);
    if (value.IsNull()) continue;
    const std::string& name = table_.columns[static_cast<std::size_t>(i)];
    const std::string text = value.IsText() ? value.Get<std::string>() : NumberText(value);
    // With lengths, so that no two rows read alike.
    digest.Update(name + ":" + std::to_string(text.size()) + ":");
    digest.Update(text);
  }
  const std::string digits = digest.Finish();
  std::uint64_t carry = 0;
  for (std::size_t word = sum_.size(); word-- > 0;) {
    std::uint32_t part = 0;
    const char* begin = digits.data() + word * 8;
    std::from_chars(begin, begin + 8, part, 16);
    carry += std::uint64_t{sum_[word]} + part;
    sum_[word] = static_cast<std::uint32_t>(carry);
    carry >>= 32U;
  }
  ++rows_;
}

std::string TableDigest::Finish() const {
  std::string digits;
  for (const std::uint32_t word : sum_) {
    for (int shift = 28; shift >= 0; shift -= 4) {
      digits += "0123456789abcdef"[(word >> static_cast<unsigned>(shift)) & 15U];
    }
  }
  return digits;
}

TableWriter::TableWriter(std::shared_ptr<Connection> connection, const TableRows& table)
    : connection_(std::move(connection)),
      table_(table),
      heading_("INSERT INTO " + Bracketed(table.name) + " (" + Joined(table.columns) +
               ") VALUES ") {}

void TableWriter::Add(const Recordset& row) {
  const std::size_t before = rows_.size();
  rows_ += rows_.empty() ? "(" : ", (";
  const int count = row.FieldCount();
  for (int i = 0; i < count; ++i) {
    if (i > 0) rows_ += ", ";
    const Variant value = row.Value(i);
    if (value.IsText() && !IsPlain(value.Get<std::string>())) {
      rows_.resize(before);
      AddByRecordset(row);
      return;
    }
    AppendLiteral(rows_, value);
  }
  rows_ += ')';
  if (rows_.size() >= kStatementLength) Flush();
}

// No value stands in a statement then.
void TableWriter::AddByRecordset(const Recordset& row) {
  const auto to = connection_->CreateRecordset();
  to->Open("SELECT * FROM " + Bracketed(table_.name) + " WHERE 1 = 2", connection_, kOpenKeyset,
           kLockOptimistic);
  to->AddNew();
  for (int i = 0; i < row.FieldCount(); ++i) {
    to->SetValue(table_.columns[static_cast<std::size_t>(i)], row.Value(i));
  }
  to->Update();
  to->Close();
}

void TableWriter::Flush() {
  if (rows_.empty()) return;
  connection_->Execute(heading_ + rows_);
  rows_.clear();
}

}  // namespace qm
