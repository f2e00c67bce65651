#include "upkeep/table_rows.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <utility>

#include <qm/conversions.h>

#include "dataaccess/sql_text.h"
#include "datasets/import_digest.h"
#include "runtime/text.h"

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

// Whether every engine and its driver reads the value as it stands in a statement.
bool IsPlain(const Variant& value) {
  return !value.IsText() ||
         value.Get<std::string>().find_first_of(std::string_view("\\\0", 2)) == std::string::npos;
}

// Whether another row might have been taken.
bool IsRefusal(const Error& error) {
  return error.engine_code() != 0 &&
         (error.number() == kErrStatement || error.number() == kErrIntegrity);
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

void AppendRow(std::string& statement, const std::vector<Variant>& row) {
  char separator = '(';
  for (const Variant& value : row) {
    statement += std::exchange(separator, ',');
    AppendLiteral(statement, value);
  }
  statement += ')';
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
  Values values;
  const int count = row.FieldCount();
  for (int i = 0; i < count; ++i) values.push_back(row.Value(i));
  if (!std::ranges::all_of(values, IsPlain)) {
    try {
      WriteByRecordset(values);
    } catch (const Error& error) {
      RaiseAtRow(error, {values});
    }
    return;
  }
  if (!literals_.empty()) literals_ += ", ";
  AppendRow(literals_, values);
  rows_.push_back(std::move(values));
  if (literals_.size() >= kStatementLength) Flush();
}

void TableWriter::Flush() {
  if (rows_.empty()) return;
  try {
    connection_->Execute(heading_ + literals_);
  } catch (const Error& error) {
    RaiseAtRow(error, rows_);
  }
  literals_.clear();
  rows_.clear();
}

void TableWriter::Write(const Values& row) {
  if (!std::ranges::all_of(row, IsPlain)) return WriteByRecordset(row);
  std::string literals;
  AppendRow(literals, row);
  connection_->Execute(heading_ + literals);
}

// No value stands in a statement then.
void TableWriter::WriteByRecordset(const Values& row) {
  const auto to = connection_->CreateRecordset();
  to->Open("SELECT * FROM " + Bracketed(table_.name) + " WHERE 1 = 2", connection_, kOpenKeyset,
           kLockOptimistic);
  to->AddNew();
  for (std::size_t i = 0; i < row.size(); ++i) to->SetValue(table_.columns[i], row[i]);
  to->Update();
  to->Close();
}

bool TableWriter::CanWrite(const Values& row) {
  try {
    Write(row);
    return true;
  } catch (const Error& error) {
    if (!IsRefusal(error)) throw;
    return false;
  }
}

// The column is the one without whose value the row is taken.
std::string TableWriter::PlaceOfFault(const Values& row) {
  std::string place;
  std::string column;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string& name = table_.columns[i];
    if (ContainsName(table_.keys, name)) {
      // A text may say who the record is about.
      if (row[i].IsText() || row[i].IsNull()) continue;
      place += (place.empty() ? " with " : " and ") + name + " " + NumberText(row[i]);
    } else if (column.empty() && !row[i].IsNull()) {
      Values without = row;
      without[i] = Variant::Null();
      if (CanWrite(without)) column = ", column " + name;
    }
  }
  return place + column;
}

void TableWriter::RaiseAtRow(const Error& error, const std::vector<Values>& rows) {
  if (!IsRefusal(error)) throw error;
  for (const Values& row : rows) {
    if (CanWrite(row)) continue;
    throw Error(error.number(), error.source(),
                std::string(kAtRow) + PlaceOfFault(row) + ": " + error.description(),
                error.engine_code(), error.statement());
  }
  throw error;
}

}  // namespace qm
