#include "dataaccess/providers/odbc/odbc_statement.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <limits>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "dataaccess/providers/odbc/odbc_session.h"
#include "dataaccess/stored_form.h"
#include "runtime/utf16.h"

namespace qm {

namespace {

constexpr std::size_t kLongestBound = 1000;  // characters; longer columns are asked for one by one
constexpr std::size_t kBlockBytes = std::size_t{256} << 10U;
constexpr std::size_t kMostRows = 256;
constexpr std::size_t kLongText = 4000;
constexpr std::size_t kPiece = 16384;

SQLSMALLINT TargetType(OdbcKind kind, bool utf8) {
  switch (kind) {
    case OdbcKind::kWhole:
      return SQL_C_SBIGINT;
    case OdbcKind::kReal:
      return SQL_C_DOUBLE;
    case OdbcKind::kBit:
      return SQL_C_BIT;
    case OdbcKind::kMoment:
      return SQL_C_TYPE_TIMESTAMP;
    case OdbcKind::kBytes:
      return SQL_C_BINARY;
    case OdbcKind::kText:
      break;
  }
  return utf8 ? SQL_C_CHAR : SQL_C_WCHAR;
}

bool IsLong(OdbcKind kind, SQLULEN size) {
  if (kind == OdbcKind::kBytes) return true;
  return kind == OdbcKind::kText && (size == 0 || size > kLongestBound);
}

std::size_t CellSize(OdbcKind kind, SQLULEN size) {
  switch (kind) {
    case OdbcKind::kWhole:
      return sizeof(std::int64_t);
    case OdbcKind::kReal:
      return sizeof(double);
    case OdbcKind::kBit:
      return 1;
    case OdbcKind::kMoment:
      return sizeof(SQL_TIMESTAMP_STRUCT);
    default:
      // A character may take two units of UTF-16 and four bytes of UTF-8.
      return (2 * size + 1) * sizeof(SQLWCHAR);
  }
}

Variant MomentText(const SQL_TIMESTAMP_STRUCT& moment) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", int{moment.year},
                unsigned{moment.month}, unsigned{moment.day});
  std::string result(text.data());
  if (moment.hour != 0 || moment.minute != 0 || moment.second != 0 || moment.fraction != 0) {
    std::snprintf(text.data(), text.size(), " %02u:%02u:%02u", unsigned{moment.hour},
                  unsigned{moment.minute}, unsigned{moment.second});
    result += text.data();
  }
  if (moment.fraction != 0) {
    std::snprintf(text.data(), text.size(), ".%09u", static_cast<unsigned>(moment.fraction));
    result += text.data();
    result.resize(result.find_last_not_of('0') + 1);
  }
  return result;
}

bool IsDecimal(SQLSMALLINT sql_type) { return sql_type == SQL_DECIMAL || sql_type == SQL_NUMERIC; }

// A driver would write out all digits of the number's binary form.
std::string DecimalText(double value) {
  std::array<char, 400> digits{};
  const auto end =
      std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed)
          .ptr;
  return {digits.data(), end};
}

template <typename T>
T Read(const char* cell) {
  T value;
  std::copy_n(cell, sizeof value, reinterpret_cast<char*>(&value));
  return value;
}

Variant CellValue(OdbcKind kind, const char* cell, std::size_t bytes, bool utf8) {
  switch (kind) {
    case OdbcKind::kWhole:
      return StoredForm(Read<std::int64_t>(cell));
    case OdbcKind::kReal:
      return Read<double>(cell);
    case OdbcKind::kBit:
      return std::int32_t{*cell != 0 ? -1 : 0};
    case OdbcKind::kMoment:
      return MomentText(Read<SQL_TIMESTAMP_STRUCT>(cell));
    case OdbcKind::kBytes:
      return std::string(cell, bytes);
    case OdbcKind::kText:
      break;
  }
  if (utf8) return std::string(cell, bytes);
  return Utf8({reinterpret_cast<const char16_t*>(cell), bytes / sizeof(SQLWCHAR)});
}

}  // namespace

OdbcKind KindOf(SQLSMALLINT sql_type) {
  switch (sql_type) {
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT:
      return OdbcKind::kWhole;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      return OdbcKind::kReal;
    case SQL_BIT:
      return OdbcKind::kBit;
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIMESTAMP:
      return OdbcKind::kMoment;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
      return OdbcKind::kBytes;
    default:
      return OdbcKind::kText;
  }
}

struct OdbcStatement::Parameter {
  std::u16string wide;
  std::string utf8;
  std::int64_t whole = 0;
  double real = 0;
  unsigned char bit = 0;
  SQLLEN length = 0;

  /// Keeps the text, and gives where it stands.
  SQLPOINTER Keep(std::string text, bool as_utf8) {
    if (as_utf8) {
      utf8 = std::move(text);
      length = static_cast<SQLLEN>(utf8.size());
      return utf8.data();
    }
    wide = Utf16(text);
    length = static_cast<SQLLEN>(wide.size() * sizeof(char16_t));
    return wide.data();
  }
  std::size_t TextSize() const { return std::max(wide.size(), utf8.size()); }
};

OdbcStatement::OdbcStatement(OdbcSession& session, std::string_view text, std::string_view shown)
    : session_(session),
      handle_(SQL_HANDLE_STMT, SQL_HANDLE_DBC, session.LiveHandle()),
      utf8_(session.TextsAsUtf8()),
      text_(text),
      shown_(shown) {}

OdbcStatement::~OdbcStatement() { Close(); }

void OdbcStatement::Raise() {
  session_.Raise(DiagnosticOf(SQL_HANDLE_STMT, handle_.get()), shown_);
}

void OdbcStatement::Prepare() {
  const std::u16string wide = Utf16(text_);
  session_.MakeRoom(nullptr);
  if (!SQL_SUCCEEDED(SQLPrepareW(handle_.get(), WideText(wide), SQL_NTS))) Raise();
  prepared_ = true;
}

void OdbcStatement::Bind(const Variant& given, const OdbcPlace& place) {
  const Variant value = StoredForm(given);
  auto& parameter = *parameters_.emplace_back(std::make_unique<Parameter>());
  const bool typed = place.sql_type != SQL_UNKNOWN_TYPE;
  const OdbcKind kind = KindOf(place.sql_type);
  SQLSMALLINT target = TargetType(OdbcKind::kText, utf8_);
  SQLSMALLINT type = typed ? place.sql_type : SQLSMALLINT{SQL_WVARCHAR};
  SQLULEN size = std::max<SQLULEN>(place.size, 1);
  SQLPOINTER data = nullptr;
  const auto* whole = value.GetIf<std::int32_t>();
  const auto* large = value.GetIf<std::int64_t>();
  const auto* real = value.GetIf<double>();
  if (value.IsNull()) {
    parameter.length = SQL_NULL_DATA;
  } else if (kind == OdbcKind::kBit && whole != nullptr) {
    parameter.bit = *whole != 0 ? 1 : 0;
    target = SQL_C_BIT;
    data = &parameter.bit;
  } else if ((whole != nullptr || large != nullptr) && (!typed || kind == OdbcKind::kWhole)) {
    parameter.whole = whole != nullptr ? *whole : *large;
    target = SQL_C_SBIGINT;
    if (!typed) type = whole != nullptr ? SQL_INTEGER : SQL_BIGINT;
    data = &parameter.whole;
  } else if (real != nullptr && IsDecimal(place.sql_type)) {
    data = parameter.Keep(DecimalText(*real), utf8_);
    type = SQL_WVARCHAR;
    size = parameter.TextSize();
  } else if (!value.IsText() && (!typed || kind == OdbcKind::kReal || kind == OdbcKind::kWhole)) {
    parameter.real = real != nullptr    ? *real
                     : whole != nullptr ? double{static_cast<double>(*whole)}
                                        : static_cast<double>(*large);
    target = SQL_C_DOUBLE;
    type = SQL_DOUBLE;
    data = &parameter.real;
  } else {
    data = parameter.Keep(value.IsText() ? value.Get<std::string>() : ToText(value), utf8_);
    if (!typed || kind == OdbcKind::kText || kind == OdbcKind::kBytes) {
      type = parameter.TextSize() > kLongText ? SQL_WLONGVARCHAR : SQL_WVARCHAR;
      size = std::max<SQLULEN>(parameter.TextSize(), 1);
    }
  }
  const auto number = static_cast<SQLUSMALLINT>(parameters_.size());
  const SQLRETURN code =
      SQLBindParameter(handle_.get(), number, SQL_PARAM_INPUT, target, type, size, place.digits,
                       data, std::max<SQLLEN>(parameter.length, 0), &parameter.length);
  if (!SQL_SUCCEEDED(code)) Raise();
}

void OdbcStatement::Execute(bool stream) {
  session_.MakeRoom(this);
  session_.ChooseDelivery(handle_.get(), stream);
  session_.Count();
  SQLRETURN code = SQL_SUCCESS;
  if (prepared_) {
    code = SQLExecute(handle_.get());
  } else {
    const std::u16string wide = Utf16(text_);
    code = SQLExecDirectW(handle_.get(), WideText(wide), SQL_NTS);
  }
  parameters_.clear();
  if (!SQL_SUCCEEDED(code) && code != SQL_NO_DATA) Raise();
  fetched_ = next_ = 0;
  held_ = false;
  rows_affected_ = 0;
  // A change that touched nothing, whether or not it would have given rows.
  if (code == SQL_NO_DATA) return;
  open_ = true;
  Describe();
  if (HasRows()) {
    if (stream) session_.Streams(this);
    return;
  }
  SQLLEN rows = 0;
  if (SQL_SUCCEEDED(SQLRowCount(handle_.get(), &rows))) rows_affected_ = std::max<SQLLEN>(rows, 0);
}

void OdbcStatement::Ask(const std::function<SQLRETURN(SQLHSTMT)>& function) {
  session_.MakeRoom(this);
  if (!SQL_SUCCEEDED(function(handle_.get()))) Raise();
  open_ = true;
  Describe();
}

void OdbcStatement::Describe() {
  if (described_) return;
  SQLSMALLINT count = 0;
  if (!SQL_SUCCEEDED(SQLNumResultCols(handle_.get(), &count))) Raise();
  columns_.resize(static_cast<std::size_t>(count));
  for (SQLSMALLINT i = 0; i < count; ++i) {
    std::array<SQLWCHAR, 256> name{};
    SQLSMALLINT length = 0;
    SQLSMALLINT type = 0;
    SQLSMALLINT digits = 0;
    SQLSMALLINT nullable = 0;
    BoundColumn& column = columns_[static_cast<std::size_t>(i)];
    const SQLRETURN code = SQLDescribeColW(handle_.get(), static_cast<SQLUSMALLINT>(i + 1),
                                           name.data(), static_cast<SQLSMALLINT>(name.size()),
                                           &length, &type, &column.size, &digits, &nullable);
    if (!SQL_SUCCEEDED(code)) Raise();
    column.name = Utf8({reinterpret_cast<const char16_t*>(name.data()),
                        static_cast<std::size_t>(std::max<SQLSMALLINT>(length, 0))});
    column.kind = KindOf(type);
  }
  if (HasRows()) BindColumns();
  described_ = true;
}

void OdbcStatement::BindColumns() {
  std::size_t row_bytes = 0;
  bool all_short = true;
  for (BoundColumn& column : columns_) {
    // A driver that gives long values only behind the bound ones gets no bound one behind them.
    column.bound =
        !IsLong(column.kind, column.size) && (all_short || session_.GivesValuesInAnyOrder());
    all_short = all_short && column.bound;
    if (!column.bound) continue;
    column.cell = CellSize(column.kind, column.size);
    row_bytes += column.cell + sizeof(SQLLEN);
  }
  block_ = all_short ? std::clamp<std::size_t>(kBlockBytes / std::max<std::size_t>(row_bytes, 1), 1,
                                               kMostRows)
                     : 1;
  const auto attribute = [this](SQLINTEGER name, SQLPOINTER value) {
    if (!SQL_SUCCEEDED(SQLSetStmtAttrW(handle_.get(), name, value, 0))) Raise();
  };
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the interface's way to give a number
  attribute(SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(block_));
  attribute(SQL_ATTR_ROWS_FETCHED_PTR, &fetched_);
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    BoundColumn& column = columns_[i];
    if (!column.bound) continue;
    column.cells.resize(column.cell * block_);
    column.lengths.resize(block_);
    const SQLRETURN code =
        SQLBindCol(handle_.get(), static_cast<SQLUSMALLINT>(i + 1), TargetType(column.kind, utf8_),
                   column.cells.data(), static_cast<SQLLEN>(column.cell), column.lengths.data());
    if (!SQL_SUCCEEDED(code)) Raise();
  }
}

std::string OdbcStatement::BaseColumn(std::size_t column) {
  // Some drivers give an expression its own name here, but none gives it a table.
  if (ColumnText(column, SQL_DESC_BASE_TABLE_NAME).empty()) return {};
  return ColumnText(column, SQL_DESC_BASE_COLUMN_NAME);
}

std::string OdbcStatement::ColumnText(std::size_t column, SQLUSMALLINT field) {
  std::array<SQLWCHAR, 256> text{};
  SQLSMALLINT bytes = 0;
  const SQLRETURN code =
      SQLColAttributeW(handle_.get(), static_cast<SQLUSMALLINT>(column + 1), field, text.data(),
                       static_cast<SQLSMALLINT>(sizeof text), &bytes, nullptr);
  if (!SQL_SUCCEEDED(code)) return {};
  const auto units =
      std::min(static_cast<std::size_t>(std::max<SQLSMALLINT>(bytes, 0)) / sizeof(SQLWCHAR),
               text.size() - 1);
  return Utf8({reinterpret_cast<const char16_t*>(text.data()), units});
}

bool OdbcStatement::FetchBlock() {
  session_.RequireConnection();
  next_ = 0;
  fetched_ = 0;
  const SQLRETURN code = SQLFetch(handle_.get());
  if (code == SQL_NO_DATA) {
    Close();
    return false;
  }
  if (!SQL_SUCCEEDED(code)) Raise();
  return fetched_ > 0;
}

void OdbcStatement::ReadBound(const BoundColumn& column, std::size_t at, Variant& value) {
  const SQLLEN length = column.lengths[at];
  if (length == SQL_NULL_DATA) {
    value = Variant::Null();
    return;
  }
  const bool text = column.kind == OdbcKind::kText;
  const bool cut = text && (length == SQL_NO_TOTAL ||
                            static_cast<std::size_t>(length) + ClosingBytes() > column.cell);
  if (cut) {
    if (block_ > 1 && !SQL_SUCCEEDED(SQLSetPos(handle_.get(), static_cast<SQLSETPOSIROW>(at + 1),
                                               SQL_POSITION, SQL_LOCK_NO_CHANGE))) {
      Raise();
    }
    value = LongValue(static_cast<std::size_t>(&column - columns_.data()));
    return;
  }
  const char* cell = column.cells.data() + at * column.cell;
  const auto bytes = static_cast<std::size_t>(length);
  if (!text) {
    value = CellValue(column.kind, cell, bytes, utf8_);
  } else if (utf8_) {
    value.AssignText({cell, bytes});
  } else {
    AssignUtf8(converted_, {reinterpret_cast<const char16_t*>(cell), bytes / sizeof(SQLWCHAR)});
    value.AssignText(converted_);
  }
}

Variant OdbcStatement::LongValue(std::size_t column) {
  const OdbcKind kind = columns_[column].kind;
  const bool pieces = kind == OdbcKind::kText || kind == OdbcKind::kBytes;
  const std::size_t closing = kind == OdbcKind::kText ? ClosingBytes() : 0;
  std::string bytes;
  std::vector<char> piece(kPiece);
  for (;;) {
    SQLLEN length = 0;
    const SQLRETURN code =
        SQLGetData(handle_.get(), static_cast<SQLUSMALLINT>(column + 1), TargetType(kind, utf8_),
                   piece.data(), static_cast<SQLLEN>(piece.size()), &length);
    if (code == SQL_NO_DATA) break;
    if (!SQL_SUCCEEDED(code)) Raise();
    if (length == SQL_NULL_DATA) return Variant::Null();
    if (!pieces) return CellValue(kind, piece.data(), static_cast<std::size_t>(length), utf8_);
    const bool more =
        length == SQL_NO_TOTAL || static_cast<std::size_t>(length) > piece.size() - closing;
    bytes.append(piece.data(), more ? piece.size() - closing : static_cast<std::size_t>(length));
    if (!more) break;
  }
  return CellValue(kind, bytes.data(), bytes.size(), utf8_);
}

bool OdbcStatement::FetchRow(Row& row) {
  if (!open_) return false;
  if (next_ >= fetched_ && !FetchBlock()) return false;
  row.resize(columns_.size());
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (columns_[i].bound) {
      ReadBound(columns_[i], next_, row[i]);
    } else {
      row[i] = LongValue(i);
    }
  }
  ++next_;
  return true;
}

bool OdbcStatement::Next(Row& row) {
  if (!held_) return FetchRow(row);
  if (next_held_ == held_rows_.size()) return false;
  held_rows_.Read(next_held_++, row);
  return true;
}

void OdbcStatement::Hold() {
  PackedRows rows;
  for (Row row; FetchRow(row);) rows.Append(row);
  held_rows_ = std::move(rows);
  next_held_ = 0;
  held_ = true;
}

void OdbcStatement::Close() noexcept {
  if (!open_) return;
  open_ = false;
  SQLFreeStmt(handle_.get(), SQL_CLOSE);
  session_.NoLongerStreams(this);
}

}  // namespace qm
