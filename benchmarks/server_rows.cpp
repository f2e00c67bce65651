#include "benchmarks/server_rows.h"

#include <qm/connection.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <vector>

#include "benchmarks/ratio_table.h"
#include "dataaccess/providers/odbc/odbc_handle.h"
#include "runtime/utf16.h"

namespace qm::bench {

namespace {

constexpr int kRows = 100'000;
constexpr int kRowsAnInsert = 500;
constexpr int kEdits = 1000;
constexpr const char* kAllRows = "SELECT * FROM qm_bench";

// Names, numbers and dates of a patient: one key and seven short texts.
// Names in lower case, as PostgreSQL reads them where they are not quoted.
constexpr std::array kColumns = {"lastname",  "firstname", "street", "city",
                                 "birthdate", "socsec",    "sex"};
constexpr std::size_t kTextUnits = 41;

std::string TextOf(int row, std::size_t column) {
  const std::string number = std::to_string(row * 7919 % 99991);
  return (column == 3 ? "CÓRDOBA " : "TEXT ") + number;
}

void MakeTable(Connection& connection) {
  try {
    connection.Execute("DROP TABLE qm_bench");
  } catch (const Error&) {
    // There was none.
  }
  std::string columns = "patientid INTEGER NOT NULL PRIMARY KEY";
  for (const char* column : kColumns) columns += std::string(", ") + column + " VARCHAR(40)";
  connection.Execute("CREATE TABLE qm_bench (" + columns + ")");
  connection.BeginTrans();
  for (int row = 1; row <= kRows;) {
    std::string text = "INSERT INTO qm_bench VALUES ";
    for (int i = 0; i < kRowsAnInsert; ++i, ++row) {
      text += (i == 0 ? "(" : ", (") + std::to_string(row);
      for (std::size_t c = 0; c < kColumns.size(); ++c) text += ", '" + TextOf(row, c) + "'";
      text += ')';
    }
    connection.Execute(text);
  }
  connection.CommitTrans();
}

void Check(SQLRETURN code, SQLSMALLINT type, SQLHANDLE handle) {
  if (!SQL_SUCCEEDED(code)) throw std::runtime_error(DiagnosticOf(type, handle).text);
}

// A connection by hand, and its prepared statements.
class Hand {
 public:
  explicit Hand(const std::string& connection_string)
      : environment_(SQL_HANDLE_ENV, SQL_HANDLE_ENV, SQL_NULL_HANDLE) {
    SQLSetEnvAttr(environment_.get(), SQL_ATTR_ODBC_VERSION,
                  reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    connection_ = OdbcHandle(SQL_HANDLE_DBC, SQL_HANDLE_ENV, environment_.get());
    const std::u16string text = Utf16(connection_string);
    Check(SQLDriverConnectW(connection_.get(), nullptr, WideText(text), SQL_NTS, nullptr, 0,
                            nullptr, SQL_DRIVER_NOPROMPT),
          SQL_HANDLE_DBC, connection_.get());
  }
  ~Hand() { SQLDisconnect(connection_.get()); }
  Hand(const Hand&) = delete;
  Hand& operator=(const Hand&) = delete;

  OdbcHandle Statement() { return {SQL_HANDLE_STMT, SQL_HANDLE_DBC, connection_.get()}; }
  void Autocommit(bool on) {
    SQLSetConnectAttrW(connection_.get(), SQL_ATTR_AUTOCOMMIT,
                       reinterpret_cast<SQLPOINTER>(std::uintptr_t{on ? 1U : 0U}), 0);
  }
  void Commit() {
    Check(SQLEndTran(SQL_HANDLE_DBC, connection_.get(), SQL_COMMIT), SQL_HANDLE_DBC,
          connection_.get());
  }

 private:
  OdbcHandle environment_;
  OdbcHandle connection_;
};

// The rows of a query in blocks of 256; every text becomes a text of ours.
class HandRows {
 public:
  static constexpr std::size_t kBlock = 256;

  HandRows(Hand& hand, const std::string& query) : statement_(hand.Statement()) {
    SQLHANDLE handle = statement_.get();
    SQLSetStmtAttrW(handle, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(kBlock), 0);
    SQLSetStmtAttrW(handle, SQL_ATTR_ROWS_FETCHED_PTR, &fetched_, 0);
    const std::u16string text = Utf16(query);
    Check(SQLExecDirectW(handle, WideText(text), SQL_NTS), SQL_HANDLE_STMT, handle);
    SQLBindCol(handle, 1, SQL_C_SLONG, keys_.data(), 0, lengths_[0].data());
    for (std::size_t c = 0; c < kColumns.size(); ++c) {
      texts_[c].resize(kBlock * kTextUnits);
      SQLBindCol(handle, static_cast<SQLUSMALLINT>(c + 2), SQL_C_WCHAR, texts_[c].data(),
                 kTextUnits * sizeof(char16_t), lengths_[c + 1].data());
    }
  }

  /// The rows of the next block; 0 at the end.
  std::size_t Fetch() {
    fetched_ = 0;
    const SQLRETURN code = SQLFetch(statement_.get());
    if (code != SQL_NO_DATA) Check(code, SQL_HANDLE_STMT, statement_.get());
    return fetched_;
  }
  std::int32_t Key(std::size_t row) const { return keys_[row]; }
  std::string Text(std::size_t row, std::size_t column) const {
    return Utf8({texts_[column].data() + row * kTextUnits,
                 static_cast<std::size_t>(lengths_[column + 1][row]) / sizeof(char16_t)});
  }

 private:
  OdbcHandle statement_;
  SQLULEN fetched_ = 0;
  std::array<SQLINTEGER, kBlock> keys_{};
  std::array<std::array<SQLLEN, kBlock>, kColumns.size() + 1> lengths_{};
  std::array<std::vector<char16_t>, kColumns.size()> texts_;
};

// Opens anew for each measurement, so that a comparison leaves nothing to the next one.
std::shared_ptr<Connection> Open(const std::string& text) {
  auto connection = Connection::Create();
  connection->Open(text);
  return connection;
}

void ReadRows(benchmark::State& state, const std::string& text, std::int32_t cursor) {
  const auto connection = Open(text);
  for (auto _ : state) {
    auto rows = connection->CreateRecordset();
    rows->Open(kAllRows, connection, cursor, kLockReadOnly);
    int count = 0;
    for (; !rows->Eof(); rows->MoveNext(), ++count) {
      for (int c = 0; c < rows->FieldCount(); ++c) benchmark::DoNotOptimize(rows->Value(c));
    }
    if (count != kRows) state.SkipWithError("rows are missing");
  }
  state.SetItemsProcessed(state.iterations() * kRows);
}

void ReadRowsByHand(benchmark::State& state, const std::string& text) {
  Hand hand(text);
  for (auto _ : state) {
    HandRows rows(hand, kAllRows);
    int count = 0;
    while (const std::size_t fetched = rows.Fetch()) {
      for (std::size_t row = 0; row < fetched; ++row, ++count) {
        benchmark::DoNotOptimize(rows.Key(row));
        for (std::size_t c = 0; c < kColumns.size(); ++c) {
          benchmark::DoNotOptimize(rows.Text(row, c));
        }
      }
    }
    if (count != kRows) state.SkipWithError("rows are missing");
  }
  state.SetItemsProcessed(state.iterations() * kRows);
}

// The rows to be edited are chosen anew each time, and each edit changes its value.
std::string EditedRows(int round) {
  const int first = round * kEdits % (kRows - kEdits);
  return std::string(kAllRows) + " WHERE patientid > " + std::to_string(first) +
         " AND patientid <= " + std::to_string(first + kEdits);
}

void SaveEdits(benchmark::State& state, const std::string& text, std::int32_t cursor) {
  const auto connection = Open(text);
  static int round = 0;
  for (auto _ : state) {
    ++round;
    auto rows = connection->CreateRecordset();
    rows->Open(EditedRows(round), connection, cursor, kLockOptimistic);
    connection->BeginTrans();
    for (; !rows->Eof(); rows->MoveNext()) {
      rows->SetValue("street", "STREET " + std::to_string(round));
      rows->Update();
    }
    connection->CommitTrans();
  }
  state.SetItemsProcessed(state.iterations() * kEdits);
}

// The same promise by hand: a row that another user changed meanwhile is not written over.
// A keyset's promise is that a row is read anew when it is moved to.
void SaveEditsByHand(benchmark::State& state, const std::string& text, const std::string& same,
                     bool anew) {
  Hand hand(text);
  OdbcHandle read = hand.Statement();
  const std::u16string row_text = Utf16("SELECT * FROM qm_bench WHERE patientid = ?");
  Check(SQLPrepareW(read.get(), WideText(row_text), SQL_NTS), SQL_HANDLE_STMT, read.get());
  OdbcHandle update = hand.Statement();
  const std::u16string statement =
      Utf16("UPDATE qm_bench SET street = ? WHERE patientid = ? AND " + same);
  Check(SQLPrepareW(update.get(), WideText(statement), SQL_NTS), SQL_HANDLE_STMT, update.get());
  static int round = 0;
  for (auto _ : state) {
    ++round;
    HandRows rows(hand, EditedRows(round));
    std::vector<std::pair<std::int32_t, std::string>> found;
    while (const std::size_t fetched = rows.Fetch()) {
      for (std::size_t row = 0; row < fetched; ++row) {
        for (std::size_t c = 0; c < kColumns.size(); ++c) {
          if (c != 2) benchmark::DoNotOptimize(rows.Text(row, c));
        }
        found.emplace_back(rows.Key(row), rows.Text(row, 2));
      }
    }
    hand.Autocommit(false);
    for (auto& [key, old] : found) {
      if (anew) {
        SQLBindParameter(read.get(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &key, 0,
                         nullptr);
        Check(SQLExecute(read.get()), SQL_HANDLE_STMT, read.get());
        Check(SQLFetch(read.get()), SQL_HANDLE_STMT, read.get());
        for (std::size_t c = 0; c < kColumns.size(); ++c) {
          std::array<char16_t, kTextUnits> cell{};
          SQLLEN bytes = 0;
          SQLGetData(read.get(), static_cast<SQLUSMALLINT>(c + 2), SQL_C_WCHAR, cell.data(),
                     sizeof cell, &bytes);
          std::string value = Utf8({cell.data(), static_cast<std::size_t>(bytes) / 2});
          if (c == 2) old = value;
          benchmark::DoNotOptimize(value);
        }
        SQLFreeStmt(read.get(), SQL_CLOSE);
      }
      std::u16string value = Utf16("HAND " + std::to_string(round));
      std::u16string was = Utf16(old);
      SQLLEN value_length = static_cast<SQLLEN>(value.size() * 2);
      SQLLEN was_length = static_cast<SQLLEN>(was.size() * 2);
      SQLHANDLE handle = update.get();
      SQLBindParameter(handle, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 40, 0, value.data(),
                       value_length, &value_length);
      SQLBindParameter(handle, 2, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &key, 0,
                       nullptr);
      SQLBindParameter(handle, 3, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 40, 0, was.data(),
                       was_length, &was_length);
      Check(SQLExecute(handle), SQL_HANDLE_STMT, handle);
      SQLLEN changed = 0;
      SQLRowCount(handle, &changed);
      if (changed != 1) state.SkipWithError("an edit found no row");
      SQLFreeStmt(handle, SQL_CLOSE);
    }
    hand.Commit();
    hand.Autocommit(true);
  }
  state.SetItemsProcessed(state.iterations() * kEdits);
}

}  // namespace

void CompareServerRows(const std::string& engine, const std::string& connection_string) {
  MakeTable(*Open(connection_string));
  const bool postgres = engine == "PostgreSQL";
  // What a reader by hand would ask of the driver: bounded memory, on PostgreSQL by a cursor.
  const std::string streaming =
      connection_string + (postgres ? ";UseDeclareFetch=1;Fetch=1000" : ";OPTION=1048576");
  const std::string& holding = connection_string;
  const std::string same =
      postgres ? "street IS NOT DISTINCT FROM ?" : "CAST(street AS BINARY) <=> CAST(? AS BINARY)";
  const auto read = [=](std::int32_t cursor) {
    return [=](benchmark::State& state) { ReadRows(state, connection_string, cursor); };
  };
  const auto by_hand = [](const std::string& text) {
    return [=](benchmark::State& state) { ReadRowsByHand(state, text); };
  };
  Compare(engine + ": a row of 100,000, streamed", read(kOpenForwardOnly), by_hand(streaming),
          Clock::kWall);
  Compare(engine + ": a row of 100,000, static", read(kOpenStatic), by_hand(holding), Clock::kWall);
  for (const bool anew : {false, true}) {
    Compare(
        engine + ": an edit of 1,000 saved" + (anew ? ", rows read anew" : ""),
        [=](benchmark::State& state) {
          SaveEdits(state, connection_string, anew ? kOpenKeyset : kOpenStatic);
        },
        [=](benchmark::State& state) { SaveEditsByHand(state, holding, same, anew); },
        Clock::kWall);
  }
}

}  // namespace qm::bench
