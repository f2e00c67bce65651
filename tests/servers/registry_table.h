// A small table of patients on each engine, and what the tests of all engines share.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include <qm/connection.h>
#include <qm/conversions.h>
#include <qm/recordset.h>

#include "support/raises.h"
#include "support/servers.h"

namespace qm::test {

class RegistryTable : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!database_.Missing().empty()) GTEST_SKIP() << database_.Missing();
    connection_ = database_.Open();
    connection_->Execute(
        "CREATE TABLE Patients (PatientID INTEGER PRIMARY KEY, LastName VARCHAR(40),"
        " Ignore INTEGER, [Default] VARCHAR(10), Weight REAL, Remarks TEXT)");
    connection_->Execute("CREATE INDEX IX_LastName ON Patients (LastName)");
    connection_->Execute(
        "INSERT INTO Patients (PatientID, LastName, Ignore, [Default]) VALUES"
        " (1, 'MUÑOZ', 0, 'a'), (2, 'munoz', 1, 'b'), (3, 'SMITH', 0, 'c'), (4, 'smith', 0, 'd'),"
        " (5, 'smith ', 0, 'e'), (6, '12', 0, 'f'), (7, NULL, 0, 'g'), (8, '', 0, 'h')");
  }
  void TearDown() override {
    if (other_ && other_->State() == kStateOpen) other_->Close();
    if (connection_ && connection_->State() == kStateOpen) connection_->Close();
  }

  bool IsServer() const { return std::string(GetParam()) != "SQLite"; }
  bool IsPostgres() const { return std::string(GetParam()) == "PostgreSQL"; }

  /// Another user's connection.
  Connection& Other() {
    if (!other_) other_ = database_.Open();
    return *other_;
  }
  std::shared_ptr<Recordset> Rows(const std::string& source, std::int32_t type,
                                  std::int32_t lock = kLockReadOnly,
                                  std::int32_t options = kCommandText) {
    auto rows = connection_->CreateRecordset();
    rows->Open(source, connection_, type, lock, options);
    return rows;
  }
  /// The rows from the current one on: columns joined by "|", rows by ";", Null as "NULL".
  static std::string Text(Recordset& rows) {
    std::string text;
    for (; !rows.Eof(); rows.MoveNext()) {
      if (!text.empty()) text += ';';
      for (int i = 0; i < rows.FieldCount(); ++i) {
        const Variant value = rows.Value(i);
        text.append(i > 0 ? "|" : "").append(value.IsNull() ? "NULL" : ToText(value));
      }
    }
    return text;
  }
  static std::string Query(Connection& connection, const std::string& text) {
    return Text(*connection.Execute(text));
  }
  std::string Query(const std::string& text) { return Query(*connection_, text); }
  std::string NameOf(int patient) {
    return Query("SELECT LastName FROM Patients WHERE PatientID = " + std::to_string(patient));
  }
  /// As many further rows, of names that repeat themselves and of Null.
  void Fill(int count) {
    connection_->BeginTrans();
    for (int i = 0; i < count; ++i) {
      const std::string name = i % 7 == 0 ? "NULL" : "'N" + std::to_string(i % 50) + "'";
      connection_->Execute("INSERT INTO Patients (PatientID, LastName) VALUES (" +
                           std::to_string(100 + i) + ", " + name + ")");
    }
    connection_->CommitTrans();
  }

  ScratchDatabase database_{GetParam()};
  std::shared_ptr<Connection> connection_;
  std::shared_ptr<Connection> other_;
};

inline std::string EngineName(const ::testing::TestParamInfo<const char*>& info) {
  return info.param;
}

}  // namespace qm::test
