#include <qm/registry_copy.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <set>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include "dataaccess/database_catalog.h"
#include "dataaccess/sql_text.h"
#include "runtime/text.h"
#include "upkeep/table_rows.h"

namespace qm {

namespace {

constexpr const char* kSource = "QMDataObjects.CopyRegistry";
constexpr std::int64_t kRowsATransaction = 5000;
constexpr std::int64_t kRowsATelling = 200;

// Marks a place as an unfinished copy, by a word of this run's own.
constexpr const char* kMark = "QMCopy";
constexpr const char* kMakeMark = "CREATE TABLE QMCopy (Mark VARCHAR(64) PRIMARY KEY)";

constexpr std::array kRecords = {"Abstracts", "Patients", "MedicalSum"};

// What is searched by, beside the keys.
struct IndexedColumn {
  const char* table;
  const char* column;
};
constexpr std::array kIndexes = {
    IndexedColumn{"Abstracts", "PatientID"},  IndexedColumn{"Abstracts", "MedRefID"},
    IndexedColumn{"MedicalSum", "PatientID"}, IndexedColumn{"Patients", "Soundex"},
    IndexedColumn{"Patients", "LastName"},    IndexedColumn{"Patients", "BirthDate"},
    IndexedColumn{"Patients", "SocSec"}};

// Engines index texts of a known length alone; no matching column or text key is longer.
constexpr const char* kIndexedText = "VARCHAR(255)";

bool IsIndexed(std::string_view table, std::string_view column) {
  return std::ranges::any_of(kIndexes, [&](const IndexedColumn& index) {
    return EqualsIgnoreCase(index.table, table) && EqualsIgnoreCase(index.column, column);
  });
}

// A table on its way.
struct Way {
  std::shared_ptr<Connection> from;
  std::shared_ptr<Connection> to;
  TableRows table;
  std::vector<CatalogColumn> columns;
};

class RegistryCopy {
 public:
  RegistryCopy(RegistryPair from, RegistryPair to, const CopyProgress& progress)
      : from_(std::move(from)), to_(std::move(to)), progress_(progress) {}

  std::vector<CopiedTable> Run() {
    ListTables();
    if (!GoesOn()) Begin();
    for (const Way& way : ways_) Copy(way);
    MakeIndexes();
    std::vector<CopiedTable> copied;
    copied.reserve(ways_.size());
    for (const Way& way : ways_) copied.push_back(Compare(way));
    Unmark();
    return copied;
  }

 private:
  // Of one database that is both, the tables that describe layouts belong to the control database.
  std::vector<std::string> ControlTables() const {
    std::vector<std::string> tables = {"NAACCRParameters", "NAACCR Versions"};
    const auto rows = from_.control->Execute("SELECT ControlTableName FROM NAACCRParameters");
    for (const Recordset& row : rows->Rows()) {
      tables.push_back(ToTextOrEmpty(row.Value(0)));
    }
    return tables;
  }

  void ListTables() {
    const bool one = from_.registry == from_.control;
    const std::vector<std::string> control = one ? ControlTables() : std::vector<std::string>();
    List(from_.registry, [&](const std::string& table) {
      return ContainsName(control, table) ? to_.control : to_.registry;
    });
    if (!one) List(from_.control, [&](const std::string&) { return to_.control; });
  }

  template <typename Place>
  void List(const std::shared_ptr<Connection>& from, Place place) {
    const DatabaseCatalog catalog(from);
    for (std::string& name : catalog.Tables()) {
      if (EqualsIgnoreCase(name, kMark)) {
        throw Error(kErrNotAllowedHere, kSource, "what is to be copied is an unfinished copy");
      }
      Way way{from, place(name), {name, {}, catalog.KeyColumns(name)}, catalog.Columns(name)};
      for (const CatalogColumn& column : way.columns) way.table.columns.push_back(column.name);
      if (!way.columns.empty()) ways_.push_back(std::move(way));
    }
  }

  // Whether the place is an unfinished copy already.
  bool GoesOn() {
    const std::vector<std::string> tables = DatabaseCatalog(to_.registry).Tables();
    if (ContainsName(tables, kMark) && CountRows(*to_.registry, kMark) > 0) return true;
    for (const char* table : kRecords) {
      if (ContainsName(tables, table) && CountRows(*to_.registry, table) > 0) {
        throw Error(
            kErrNotAllowedHere, kSource,
            std::string("the place to copy to holds a registry: there are rows in ") + table);
      }
    }
    return false;
  }

  // Everything before the first row; the place counts as unfinished only when it is done, so a
  // run that was interrupted here begins again.
  void Begin() {
    const std::vector<std::string> registry = DatabaseCatalog(to_.registry).Tables();
    const std::vector<std::string> control = DatabaseCatalog(to_.control).Tables();
    std::vector<const Way*> there;
    for (const Way& way : ways_) {
      if (!ContainsName(way.to == to_.control ? control : registry, way.table.name)) continue;
      RequireColumns(way);
      there.push_back(&way);
    }
    for (const auto& to : {to_.registry, to_.control}) {
      if (!ContainsName(DatabaseCatalog(to).Tables(), kMark)) to->Execute(kMakeMark);
    }
    RequireOtherPlace();
    for (const Way& way : ways_) {
      if (std::ranges::find(there, &way) == there.end()) {
        Make(way);
      } else {
        way.to->Execute("DELETE FROM " + Bracketed(way.table.name));
      }
    }
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    to_.registry->Execute("INSERT INTO QMCopy (Mark) VALUES (" + SqlText(std::to_string(now)) +
                          ")");
  }

  void Unmark() const {
    for (const auto& to : {to_.control, to_.registry}) {
      if (ContainsName(DatabaseCatalog(to).Tables(), kMark)) {
        to->Execute(std::string("DROP TABLE ") + kMark);
      }
    }
  }

  // The table just made must not show where the rows come from.
  void RequireOtherPlace() {
    for (const auto& from : {from_.registry, from_.control}) {
      if (!ContainsName(DatabaseCatalog(from).Tables(), kMark)) continue;
      Unmark();
      throw Error(kErrNotAllowedHere, kSource, "a registry cannot be copied onto itself");
    }
  }

  static void RequireColumns(const Way& way) {
    std::vector<std::string> there;
    for (const CatalogColumn& column : DatabaseCatalog(way.to).Columns(SpelledThere(way))) {
      there.push_back(column.name);
    }
    for (const std::string& column : way.table.columns) {
      if (ContainsName(there, column)) continue;
      throw Error(kErrNoSuchItem, kSource,
                  "the table " + way.table.name + " of the place to copy to has no column " +
                      column + "; make it, or copy to an empty database");
    }
  }

  static std::string SpelledThere(const Way& way) {
    for (const std::string& table : DatabaseCatalog(way.to).Tables()) {
      if (EqualsIgnoreCase(table, way.table.name)) return table;
    }
    return way.table.name;
  }

  static void Make(const Way& way) {
    std::string statement = "CREATE TABLE " + Bracketed(way.table.name) + " (";
    std::string separator;
    for (const CatalogColumn& column : way.columns) {
      const bool indexed =
          ContainsName(way.table.keys, column.name) || IsIndexed(way.table.name, column.name);
      statement += std::exchange(separator, ", ") + Bracketed(column.name) + " " +
                   (indexed && column.type == "TEXT" ? kIndexedText : column.type);
    }
    if (!way.table.keys.empty()) {
      statement += ", PRIMARY KEY (";
      separator.clear();
      for (const std::string& key : way.table.keys) {
        statement += std::exchange(separator, ", ") + Bracketed(key);
      }
      statement += ")";
    }
    way.to->Execute(statement + ")");
  }

  void Tell(const std::string& doing, std::int64_t done, std::int64_t total) const {
    if (progress_) progress_(doing, done, total);
  }

  // The rows there are the first ones by key, since each transaction wrote the next ones. A table
  // without a key is copied as a whole.
  void Copy(const Way& way) const {
    const std::string doing = "copying " + way.table.name;
    const std::int64_t total = CountRows(*way.from, way.table.name);
    std::int64_t there = CountRows(*way.to, way.table.name);
    const bool by_key = !way.table.keys.empty();
    if (there == total) return;
    if (!by_key || there > total) {
      way.to->Execute("DELETE FROM " + Bracketed(way.table.name));
      there = 0;
    }
    Tell(doing, there, total);
    const auto rows = ReadRows(*way.from, way.table, true);
    TableWriter writer(way.to, way.table);
    std::optional<Transaction> transaction;
    std::int64_t done = 0;
    for (const Recordset& row : rows->Rows()) {
      if (done++ < there) continue;
      if (!transaction) transaction.emplace(way.to);
      writer.Add(row);
      if (done % kRowsATelling == 0) Tell(doing, done, total);
      if (by_key && done % kRowsATransaction == 0) {
        writer.Flush();
        transaction->Commit();
        transaction.reset();
      }
    }
    if (transaction) {
      writer.Flush();
      transaction->Commit();
    }
  }

  void MakeIndexes() const {
    for (const Way& way : ways_) {
      std::vector<std::string> indexed;
      for (const IndexedColumn& index : kIndexes) {
        if (!EqualsIgnoreCase(index.table, way.table.name) ||
            !ContainsName(way.table.columns, index.column)) {
          continue;
        }
        if (indexed.empty()) indexed = DatabaseCatalog(way.to).IndexedColumns(SpelledThere(way));
        if (ContainsName(indexed, index.column)) continue;
        Tell("indexing " + way.table.name, 0, 0);
        const std::string table = index.table;
        const std::string column = index.column;
        way.to->Execute("CREATE INDEX IX_" + table + "_" + column + " ON " + table + " (" + column +
                        ")");
      }
    }
  }

  CopiedTable Read(Connection& connection, const Way& way) const {
    const std::int64_t total = progress_ ? CountRows(connection, way.table.name) : 0;
    TableDigest digest(way.table);
    const auto rows = ReadRows(connection, way.table, false);
    for (const Recordset& row : rows->Rows()) {
      digest.Add(row);
      if (digest.rows() % kRowsATelling == 0) {
        Tell("comparing " + way.table.name, digest.rows(), total);
      }
    }
    return {way.table.name, digest.rows(), digest.Finish()};
  }

  CopiedTable Compare(const Way& way) const {
    const CopiedTable here = Read(*way.from, way);
    CopiedTable there = Read(*way.to, way);
    if (here.rows == there.rows && here.digest == there.digest) return there;
    way.to->Execute("DELETE FROM " + Bracketed(way.table.name));
    throw Error(kErrIntegrity, kSource,
                "the table " + way.table.name + " differs after it was copied (" +
                    std::to_string(here.rows) + " rows, " + std::to_string(there.rows) +
                    " there): somebody wrote meanwhile, or the engine changed values; it was "
                    "emptied there and is copied again by the next run");
  }

  RegistryPair from_;
  RegistryPair to_;
  const CopyProgress& progress_;
  std::vector<Way> ways_;
};

}  // namespace

std::vector<CopiedTable> CopyRegistry(const RegistryPair& from, const RegistryPair& to,
                                      const CopyProgress& progress) {
  return RegistryCopy(from, to, progress).Run();
}

}  // namespace qm
