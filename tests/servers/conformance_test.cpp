// What clients are promised of statements and rows, on every engine alike.
#include <algorithm>
#include <functional>
#include <vector>

#include <qm/error.h>

#include "servers/registry_table.h"

namespace qm::test {
namespace {

using Conformance = RegistryTable;
INSTANTIATE_TEST_SUITE_P(Engines, Conformance, ::testing::ValuesIn(kEngines), EngineName);

TEST_P(Conformance, ValuesComeBackAsTheyWereGiven) {
  std::string long_text;
  for (int i = 0; i < 20000; ++i) long_text += i % 100 == 0 ? "\r\n" : i % 7 == 0 ? "Ú" : "x";
  const struct {
    const char* column;
    Variant value;
  } cases[] = {
      {"LastName", "MUÑOZ"},
      {"LastName", "ZÚÑIGA ØÙÛÚ"},
      {"LastName", "O'BRIEN"},
      {"LastName", "BACK\\"},
      {"LastName", "\\' ; \\"},
      {"LastName", "  blanks  "},
      {"LastName", ""},
      {"LastName", "tab\tline\r\n?{d '2'}:x"},
      {"LastName", "\U0001F600 e\u0301"},
      {"LastName", std::string(40, 'W')},
      {"LastName", Variant::Null()},
      {"Remarks", long_text},
      {"Remarks", std::string(20000, 'x') + "\\"},
      {"Remarks", ""},
      {"Remarks", Variant::Null()},
      {"Ignore", 0},
      {"Ignore", -2147483647},
      {"Ignore", Variant::Null()},
      {"Default", "d'"},
      {"Weight", 2.5},
      {"Weight", -0.1},
      {"Weight", 1e-200},
      {"Weight", 12345678.9},
      {"Weight", Variant::Null()},
  };
  int id = 20;
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.column) + " " + std::to_string(++id));
    auto rows = Rows("SELECT * FROM Patients WHERE 1 = 2", kOpenKeyset, kLockOptimistic);
    rows->AddNew();
    rows->SetValue("PatientID", id);
    rows->SetValue(c.column, c.value);
    rows->Update();
    EXPECT_EQ(rows->Value(c.column), c.value);
    rows->Close();
    const std::string text = "SELECT * FROM Patients WHERE PatientID = " + std::to_string(id);
    for (const std::int32_t type : {kOpenForwardOnly, kOpenKeyset, kOpenDynamic, kOpenStatic}) {
      EXPECT_EQ(Rows(text, type)->Value(c.column), c.value) << type;
    }
    rows = Rows("Patients", kOpenDynamic, kLockOptimistic, kCommandTableDirect);
    rows->MoveLast();
    EXPECT_EQ(rows->Value(c.column), c.value);
    // Changed to it, and by a statement's text.
    rows->SetValue(c.column, c.value.IsText() ? Variant("2") : Variant(2));
    rows->Update();
    rows->SetValue(c.column, c.value);
    rows->Update();
    EXPECT_EQ(Rows(text, kOpenStatic)->Value(c.column), c.value);
    if (!c.value.IsText()) continue;
    std::string literal;
    for (const char letter : c.value.Get<std::string>()) {
      literal += letter;
      if (letter == '\'') literal += letter;
    }
    connection_->Execute("UPDATE Patients SET [" + std::string(c.column) + "] = '" + literal +
                         "' WHERE PatientID = " + std::to_string(id));
    EXPECT_EQ(Rows(text, kOpenStatic)->Value(c.column), c.value);
  }
}

// Each is changed twice: the second change finds what the first one left.
TEST_P(Conformance, ColumnsThatOtherApplicationsMadeCanBeEdited) {
  connection_->Execute(
      "CREATE TABLE Kinds (KindID INTEGER PRIMARY KEY, Price DECIMAL(12,2), Moment TIMESTAMP(6),"
      " Code CHAR(5), Short VARCHAR(5))");
  connection_->Execute("INSERT INTO Kinds (KindID) VALUES (1)");
  const struct {
    const char* column;
    Variant first;
    Variant second;
  } cases[] = {{"Price", 0.1, 0.3},
               {"Moment", "2020-02-03 01:02:03.456789", "2020-02-03 01:02:03.5"},
               {"Code", "ab  ", "abc"},
               {"Short", "ab   ", "ab"}};
  const auto rows = Rows("SELECT * FROM Kinds", kOpenKeyset, kLockOptimistic);
  for (const auto& c : cases) {
    rows->SetValue(c.column, c.first);
    rows->Update();
    rows->SetValue(c.column, c.second);
    EXPECT_NO_THROW(rows->Update()) << c.column;
  }
  EXPECT_EQ(rows->Value("Price"), Variant(0.3));
  EXPECT_EQ(rows->Value("Moment"), Variant("2020-02-03 01:02:03.5"));
}

TEST_P(Conformance, ColumnsHaveTheirTypes) {
  connection_->Execute("UPDATE Patients SET Weight = 2, Remarks = '5' WHERE PatientID = 3");
  auto row = connection_->Execute(
      "SELECT PatientID, LastName, Weight, Remarks, count(*) FROM Patients WHERE PatientID = 3"
      " GROUP BY PatientID, LastName, Weight, Remarks");
  EXPECT_EQ(row->Value(0), Variant(3));
  EXPECT_EQ(row->Value(1), Variant("SMITH"));
  EXPECT_EQ(row->Value(2), Variant(2.0));
  EXPECT_EQ(row->Value(3), Variant("5"));
  EXPECT_EQ(row->Value(4), Variant(1));
}

TEST_P(Conformance, OneEqualityAndOneOrder) {
  const struct {
    const char* condition;
    const char* patients;
  } cases[] = {
      {"LastName = 'MUÑOZ'", "1"},
      {"LastName = 'MUNOZ'", ""},
      {"lastname = 'munoz'", "2"},
      {"LASTNAME = 'SMITH'", "3"},
      {"LastName = 'smith'", "4"},
      {"LastName = 'smith '", "5"},
      {"LastName = ''", "8"},
      {"LastName IN ('SMITH', 'Smith', '')", "3;8"},
      {"LastName = 12", "6"},
      {"12 = LastName", "6"},
      {"LastName <> 0 AND PatientID > 4", "5;6;8"},
      {"LastName = -12", ""},
      {"LastName = - 12 OR LastName = +12", "6"},
      {"-1.5 = LastName OR LastName = 12.0 OR [Default] < 1.50", ""},
      {"LastName IN ('SMITH', -7, 12, 1.5)", "3;6"},
      {"Patients.LastName BETWEEN 010 AND 13 AND PatientID BETWEEN -1 AND 7.5", "6"},
      {"LastName NOT BETWEEN -1 AND '2' AND LastName < 'T'", "1;3;8"},
      {"PatientID = '3'", "3"},
      {"LastName IS NULL", "7"},
      {"LastName < 'a' AND LastName > '1'", "1;3;6"},
      {"LastName LIKE 'smith_'", "5"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Query(std::string("SELECT PatientID FROM Patients WHERE ") + c.condition +
                    " ORDER BY PatientID"),
              c.patients)
        << c.condition;
  }
  EXPECT_EQ(Query("SELECT PatientID FROM Patients ORDER BY LastName"), "7;8;6;1;3;2;4;5");
  EXPECT_EQ(Query("SELECT PatientID FROM Patients p ORDER BY p.LastName DESC, 1"),
            "5;4;2;3;1;6;8;7");
  EXPECT_EQ(Query("SELECT a.PatientID FROM Patients a, Patients b WHERE a.LastName = b.LastName"
                  " AND a.PatientID <> b.PatientID"),
            "");
}

TEST_P(Conformance, NamesAreFoundInEverySpelling) {
  const struct {
    const char* text;
    const char* rows;
  } cases[] = {
      {"SELECT [Default] FROM Patients WHERE PatientID = 2", "b"},
      {"select PATIENTS.[DEFAULT] from PATIENTS where patients.patientid = 2", "b"},
      {"SELECT \"default\", `ignore` FROM [patients] WHERE [PatientID]=2;", "b|1"},
      {"SELECT P.[Default] FROM Patients AS P WHERE p.IGNORE = 1 -- it's all", "b"},
      {"SELECT patientID FROM patients WHERE Ignore <> 0 OERDER BY LastName", "2"},
      {"SELECT a.Ignore FROM Patients a INNER JOIN patients b ON a.PatientID = b.patientid"
       " WHERE b.[default] = 'b'",
       "1"},
      {"SELECT count(*) FROM Patients WHERE PatientID IN (SELECT patientid FROM PATIENTS WHERE"
       " ignore = 1)",
       "1"},
      {"SELECT max([Default]) AS Highest FROM Patients GROUP BY Ignore ORDER BY Ignore", "h;b"},
      {"SELECT 'Ignore [Default] \"x\" -- ' FROM Patients WHERE PatientID = 1",
       "Ignore [Default] \"x\" -- "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Query(c.text), c.rows);
  }
  const struct {
    const char* text;
    int rows;
  } writes[] = {
      {"INSERT INTO PATIENTS (patientid, [default], IGNORE) VALUES (9, 'i', 3)", 1},
      {"update patients set IGNORE = ignore + 1, [DEFAULT] = 'x' where patients.Ignore = 3", 1},
      {"UPDATE Patients SET LastName = LastName", 9},
      {"DELETE FROM patients WHERE [Ignore] = 4 AND [Default] = 'x'", 1},
  };
  for (const auto& c : writes) {
    SCOPED_TRACE(c.text);
    std::int64_t affected = 0;
    connection_->Execute(c.text, &affected);
    EXPECT_EQ(affected, c.rows);
  }
  auto rows = Rows("SELECT * FROM patients", kOpenStatic);
  EXPECT_EQ(rows->FieldName(3), "Default");
  EXPECT_EQ(rows->FieldOrdinal("WEIGHT"), 4);
  // Columns under other names are written where they come from.
  rows = Rows(
      "SELECT p.LastName AS Surname, Ignore + 1 AS LastName FROM Patients AS p"
      " WHERE p.PatientID = 1",
      kOpenKeyset, kLockOptimistic);
  rows->SetValue("Surname", "X");
  EXPECT_EQ(Raises([&] { rows->SetValue("LastName", "Y"); }).number, kErrNotSupported);
  rows->Update();
  EXPECT_EQ(NameOf(1), "X");
}

TEST_P(Conformance, FailuresHaveTheirNumbers) {
  connection_->Execute("CREATE TABLE Strict (Code VARCHAR(5) NOT NULL PRIMARY KEY)");
  const struct {
    const char* text;
    std::int32_t number;
    bool engine = true;
  } cases[] = {
      {"SELECT * FROM no_table", kErrNoSuchTable},
      {"INSERT INTO no_table VALUES (1)", kErrNoSuchTable},
      {"SELEC 1", kErrStatement},
      {"SELECT nothing FROM Patients", kErrStatement},
      {"SELECT * FROM Patients WHERE LastName = 'O'BRIEN'", kErrStatement},
      {"INSERT INTO Patients (PatientID) VALUES (3)", kErrIntegrity},
      {"INSERT INTO Strict (Code) VALUES (NULL)", kErrIntegrity},
      {" ; -- nothing\n", kErrStatement, false},
      {"DELETE FROM Patients; DELETE FROM Patients", kErrStatement, false},
      {"DELETE FROM Patients WHERE LastName = ?", kErrStatement, false},
  };
  for (const bool in_transaction : {false, true}) {
    if (in_transaction) connection_->BeginTrans();
    for (const auto& c : cases) {
      try {
        connection_->Execute(c.text);
        ADD_FAILURE() << c.text;
      } catch (const Error& error) {
        EXPECT_EQ(error.number(), c.number) << c.text << ": " << error.what();
        EXPECT_EQ(error.engine_code() != 0, c.engine) << c.text;
        EXPECT_EQ(error.statement(), c.text);
      }
      // The work goes on, in the same transaction.
      connection_->Execute("UPDATE Patients SET Ignore = Ignore + 1 WHERE PatientID = 8");
    }
    if (in_transaction) connection_->RollbackTrans();
  }
  EXPECT_EQ(Query("SELECT Ignore FROM Patients WHERE PatientID = 8"),
            std::to_string(std::size(cases)));
}

TEST_P(Conformance, NoTextRunsASecondStatement) {
  const char* const texts[] = {
      "SELECT 1 ; DELETE FROM Patients",
      "SELECT '\\'; DELETE FROM Patients --'",
      "SELECT '\\' '; DELETE FROM Patients --'",
      "SELECT E'\\' '; DELETE FROM Patients --'",
      "SELECT E'a'\n'\\' '; DELETE FROM Patients --'",
      "SELECT $a$ $$ ' $a$; DELETE FROM Patients --'",
      "SELECT 1 --1; DELETE FROM Patients",
      "SELECT 1 -- x\r; DELETE FROM Patients",
      "SELECT 1 # '\n; DELETE FROM Patients -- '",
      "SELECT 1 /*! ; DELETE FROM Patients */",
      "SELECT 1 /* /* */ ; DELETE FROM Patients -- */",
      "SELECT [;DELETE FROM Patients;--] FROM Patients",
      "CREATE VIEW [v;DELETE FROM Patients;--] AS SELECT 1",
  };
  for (const char* text : texts) {
    Raises([&] { connection_->Execute(text)->Close(); });
    EXPECT_EQ(Query("SELECT count(*) FROM Patients"), "8") << text;
  }
}

TEST_P(Conformance, TransactionsAreSeenWhenTheyAreCommitted) {
  connection_->BeginTrans();
  EXPECT_EQ(Raises([&] { connection_->BeginTrans(); }).number, kErrNestedTransaction);
  connection_->Execute("UPDATE Patients SET Ignore = 5 WHERE PatientID = 1");
  constexpr const char* kLook = "SELECT Ignore FROM Patients WHERE PatientID = 1";
  EXPECT_EQ(Query(kLook), "5");
  EXPECT_EQ(Query(Other(), kLook), "0");
  connection_->RollbackTrans();
  EXPECT_EQ(Query(kLook), "0");
  EXPECT_EQ(Raises([&] { connection_->CommitTrans(); }).number, kErrNoTransaction);
  connection_->BeginTrans();
  connection_->Execute("UPDATE Patients SET Ignore = 6 WHERE PatientID = 1");
  connection_->CommitTrans();
  EXPECT_EQ(Query(Other(), kLook), "6");
  connection_->BeginTrans();
  connection_->Execute("DELETE FROM Patients");
  connection_->Close();
  EXPECT_EQ(Query(Other(), "SELECT count(*) FROM Patients"), "8") << "closing rolls back";
}

// A user who tries again reads what others have written meanwhile, also within a transaction.
TEST_P(Conformance, RetriesSeeFreshRows) {
  if (IsServer()) connection_->BeginTrans();  // on SQLite it would shut the other writer out
  auto rows = Rows("SELECT Ignore FROM Patients WHERE PatientID = 1", kOpenKeyset);
  EXPECT_EQ(rows->Value(0), Variant(0));
  Other().Execute("UPDATE Patients SET Ignore = 7 WHERE PatientID = 1");
  rows->Requery();
  EXPECT_EQ(rows->Value(0), Variant(7));
  Other().Execute("UPDATE Patients SET Ignore = 8 WHERE PatientID = 1");
  EXPECT_EQ(Query("SELECT Ignore FROM Patients WHERE PatientID = 1"), "8");
}

TEST_P(Conformance, EveryCursorGivesAllRows) {
  Fill(600);
  std::string expected;
  for (int id = 1; id < 700; id += id == 8 ? 92 : 1) {
    expected += (expected.empty() ? "" : ";") + std::to_string(id);
  }
  const std::string text = "SELECT PatientID FROM Patients ORDER BY PatientID";
  for (const std::int32_t type : {kOpenForwardOnly, kOpenKeyset, kOpenDynamic, kOpenStatic}) {
    auto rows = Rows(text, type);
    EXPECT_EQ(rows->RecordCount(), type == kOpenForwardOnly ? -1 : 608);
    EXPECT_EQ(Text(*rows), expected) << type;
  }
  // Rows longer than what is fetched at a time, and others of their connection between them.
  connection_->Execute("UPDATE Patients SET Remarks = '" + std::string(3000, 'y') + "'");
  auto stream =
      Rows("SELECT PatientID, Remarks FROM Patients ORDER BY PatientID", kOpenForwardOnly);
  auto second = Rows(text, kOpenForwardOnly);
  int count = 0;
  for (; !stream->Eof(); stream->MoveNext(), second->MoveNext(), ++count) {
    const std::int32_t id = stream->Value(0).Get<std::int32_t>();
    EXPECT_EQ(second->Value(0), Variant(id));
    EXPECT_EQ(stream->Value(1).Get<std::string>().size(), 3000U);
    if (count % 50 == 0) {
      EXPECT_EQ(Query("SELECT count(*) FROM Patients"), "608");
      EXPECT_EQ(Raises([&] { Query("SELECT * FROM no_table"); }).number, kErrNoSuchTable);
    }
    if (count == 300) connection_->Execute("UPDATE Patients SET Remarks = 'z'");
  }
  EXPECT_EQ(count, 608);
}

TEST_P(Conformance, ATableIsPagedBothWaysAndSought) {
  Fill(600);
  const auto walk = [](Recordset& rows, bool forward) {
    std::vector<std::string> seen;
    forward ? rows.MoveFirst() : rows.MoveLast();
    while (forward ? !rows.Eof() : !rows.Bof()) {
      const Variant name = rows.Value("LastName");
      const std::string id = std::to_string(10000 + rows.Value("PatientID").Get<std::int32_t>());
      seen.push_back((name.IsNull() ? "" : "=" + ToText(name)) + "\x01" + id);
      forward ? rows.MoveNext() : rows.MovePrevious();
    }
    return seen;
  };
  auto rows = Rows("patients", kOpenDynamic, kLockOptimistic, kCommandTableDirect);
  EXPECT_EQ(rows->RecordCount(), 608);
  EXPECT_EQ(rows->Value(0), Variant(1)) << "in the order of the key";
  for (const char* index : {"IX_LastName", "PrimaryKey"}) {
    rows->SetIndex(index);
    auto forward = walk(*rows, true);
    auto backward = walk(*rows, false);
    std::ranges::reverse(backward);
    EXPECT_EQ(forward, backward) << index;
    EXPECT_EQ(forward.size(), 608U);
    if (rows->Index() == "IX_LastName") {
      EXPECT_TRUE(std::ranges::is_sorted(forward)) << "Null first, then by the bytes, then the key";
    }
  }
  rows->SetIndex("IX_LastName");
  const struct {
    Variant key;
    std::int32_t option;
    int patient;  // 0: none
  } cases[] = {
      {"smith", kSeekFirstEqual, 4}, {"Smith", kSeekFirstEqual, 0},
      {"smith", kSeekAfter, 5},      {"MUÑOZ", kSeekFirstEqual, 1},
      {"MUÑOZ", kSeekBefore, 6},     {Variant::Null(), kSeekFirstEqual, 7},
      {"N1", kSeekFirstEqual, 101},  {"", kSeekFirstEqual, 8},
      {"zz", kSeekBeforeEqual, 5},   {"12", kSeekLastEqual, 6},
      {"SMITA", kSeekAfterEqual, 3}, {"zz", kSeekAfter, 0},
  };
  for (const auto& c : cases) {
    rows->Seek(c.key, c.option);
    EXPECT_EQ(rows->Eof() ? 0 : rows->Value(0).Get<std::int32_t>(), c.patient)
        << (c.key.IsNull() ? "NULL" : ToText(c.key)) << " " << c.option;
  }
  rows->SetIndex("PrimaryKey");
  rows->Seek(650);
  EXPECT_EQ(rows->Value(0), Variant(650));
  EXPECT_EQ(Raises([&] { rows->SetIndex("nothing"); }).number, kErrNoSuchItem);
}

}  // namespace
}  // namespace qm::test
