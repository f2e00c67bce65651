// What records cost: reading fields, moving, editing and saving, each beside the same work with the
// database engine's own C interface. The registry is a synthetic one of a thousand abstracts.
#include <qm/conversions.h>
#include <qm/data_sets.h>
#include <qm/importer.h>
#include <qm/qm_connection.h>
#include <qm/registry_setup.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <unordered_map>

#include "benchmarks/ratio_table.h"
#include "benchmarks/server_rows.h"
#include "synthetic/generator.h"

namespace qm::bench {

namespace {

namespace fs = std::filesystem;

constexpr int kAbstracts = 1000;

// A registry in a folder of its own, gone at the end, open in this thread's session.
class BenchRegistry {
 public:
  BenchRegistry() : folder_(fs::temp_directory_path() / "qm_benchmarks") {
    fs::remove_all(folder_);
    CreateRegistryFolder(folder_, {{"18"}});
    session_.SetApplicationName("Velmora");
    session_.SetRegistry(Open("registry.db"));
    session_.SetControl(Open("control.db"));
    const std::string incoming = (folder_ / "incoming.txt").string();
    session_.Registry()->SetStatementObserver([this](std::string_view text) { seen_(text); });
    {
      std::ofstream lines(incoming);
      std::ofstream truth(folder_ / "truth.csv");
      SyntheticOptions options;
      options.patients = options.incoming = kAbstracts;
      GenerateRegistry(session_.Registry(), *QMDataSets().GetNAACCRLayout(), options, lines, truth);
    }
    Importer().ImportFile(incoming);
    std::ifstream lines(incoming);
    for (std::string line; std::getline(lines, line);) {
      std::replace(line.begin(), line.end(), '\'', ' ');  // which would break a statement
      records.push_back(line);
    }
    layout = data_sets.GetNAACCRLayout();
    for (std::int16_t i = 1; i <= layout->FieldsCount(); ++i) {
      if (layout->FieldAbsTable(i) == 1 && layout->FieldType(i) != "X") primary_fields.push_back(i);
    }
  }
  ~BenchRegistry() {
    session_.Disconnect();
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  BenchRegistry(const BenchRegistry&) = delete;
  BenchRegistry& operator=(const BenchRegistry&) = delete;

  std::string File() const { return (folder_ / "registry.db").string(); }
  std::string ControlFile() const { return (folder_ / "control.db").string(); }
  Connection& Registry() { return *session_.Registry(); }
  /// What the registry's connection is given, in their order, while `work` runs.
  std::vector<std::string> StatementsOf(const std::function<void()>& work) {
    std::vector<std::string> statements;
    seen_ = [&](std::string_view text) { statements.emplace_back(text); };
    work();
    seen_ = [](std::string_view) {};
    return statements;
  }
  Abstract All() { return data_sets.GetAbstract(kNoId, kNoId, kNoId, "AbsRefID > 0"); }

  QMDataSets data_sets;
  std::shared_ptr<NAACCRLayout> layout;
  std::vector<std::int16_t> primary_fields;
  std::vector<std::string> records;  ///< fixed-width, without line ends

 private:
  std::shared_ptr<Connection> Open(const char* file) {
    return session_.Connect(SqliteConnectionString(folder_ / file), qmModeReadWrite, 15, 30);
  }

  fs::path folder_;
  QMConnection session_;
  std::function<void(std::string_view)> seen_ = [](std::string_view) {};
};

// The work by hand: statements prepared once and used again.
class ByHand {
 public:
  explicit ByHand(const std::string& file) { Check(sqlite3_open(file.c_str(), &db_)); }
  ~ByHand() {
    for (auto& [text, statement] : statements_) sqlite3_finalize(statement);
    sqlite3_close(db_);
  }
  ByHand(const ByHand&) = delete;
  ByHand& operator=(const ByHand&) = delete;

  sqlite3_stmt* Prepare(const std::string& text) {
    sqlite3_stmt*& statement = statements_[text];
    if (statement == nullptr) Check(sqlite3_prepare_v2(db_, text.c_str(), -1, &statement, nullptr));
    sqlite3_reset(statement);
    return statement;
  }
  void Run(const std::string& text) { Run(Prepare(text)); }
  void Run(sqlite3_stmt* statement) {
    if (sqlite3_step(statement) != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(db_));
    sqlite3_reset(statement);
  }
  /// Prepares, runs and forgets it.
  void RunOnce(const std::string& text) {
    sqlite3_stmt* statement = nullptr;
    Check(sqlite3_prepare_v2(db_, text.c_str(), static_cast<int>(text.size()) + 1, &statement,
                             nullptr));
    Run(statement);
    sqlite3_finalize(statement);
  }
  /// The row of a key, which is the statement's only parameter.
  sqlite3_stmt* RowOf(const std::string& text, int key) {
    sqlite3_stmt* statement = Prepare(text);
    sqlite3_bind_int(statement, 1, key);
    if (sqlite3_step(statement) != SQLITE_ROW) throw std::runtime_error("no such row");
    return statement;
  }

 private:
  void Check(int code) {
    if (code != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(db_));
  }

  sqlite3* db_ = nullptr;
  std::unordered_map<std::string, sqlite3_stmt*> statements_;
};

std::string Text(sqlite3_stmt* row, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
  return text == nullptr
             ? std::string()
             : std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(row, column)));
}

std::unordered_map<std::string, int> ColumnsOf(sqlite3_stmt* row) {
  std::unordered_map<std::string, int> columns;
  for (int i = 0; i < sqlite3_column_count(row); ++i) columns[sqlite3_column_name(row, i)] = i;
  return columns;
}

// Every field of the primary table, on one row.
void CompareFieldReads(BenchRegistry& registry, ByHand& hand) {
  const auto& indexes = registry.primary_fields;
  std::vector<std::string> names;
  for (const std::int16_t i : indexes) names.push_back(registry.layout->FieldName(i));
  const auto units = [count = names.size()](benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
  };
  const auto by_hand = [&hand, names, units](bool by_name) {
    return [&hand, names, units, by_name](benchmark::State& state) {
      sqlite3_stmt* row = hand.RowOf("SELECT * FROM Abstracts WHERE AbsRefID = ?", 1);
      const auto columns = ColumnsOf(row);
      std::vector<int> positions;
      for (const std::string& name : names) positions.push_back(columns.at(name));
      for (auto _ : state) {
        for (std::size_t i = 0; i < names.size(); ++i) {
          benchmark::DoNotOptimize(
              Text(row, by_name ? columns.find(names[i])->second : positions[i]));
        }
      }
      units(state);
      sqlite3_reset(row);
    };
  };
  const auto read = [&registry, units](const auto& keys, auto member) {
    return [&registry, keys, units, member](benchmark::State& state) {
      Abstract abstract = registry.data_sets.GetAbstract(1);
      for (auto _ : state) {
        for (const auto& key : keys) benchmark::DoNotOptimize((abstract.*member)(key));
      }
      units(state);
    };
  };
  const std::vector<Variant> keys(names.begin(), names.end());
  Compare("field read by index", read(indexes, &Abstract::FieldByIndex), by_hand(false));
  Compare("field read by name", read(names, &Abstract::FieldByName), by_hand(true));
  Compare("field read by Fields and its name", read(keys, &Abstract::Fields), by_hand(true));
}

void CompareMoves(BenchRegistry& registry, ByHand& hand) {
  const auto by_hand = [&hand](benchmark::State& state) {
    std::int64_t rows = 0;
    for (auto _ : state) {
      sqlite3_stmt* row = hand.Prepare("SELECT * FROM Abstracts WHERE AbsRefID > 0");
      const int memo = ColumnsOf(row).at("Remarks");
      for (; sqlite3_step(row) == SQLITE_ROW; ++rows) benchmark::DoNotOptimize(Text(row, memo));
    }
    state.SetItemsProcessed(rows);
  };
  Compare(
      "move to the next of a thousand abstracts",
      [&registry](benchmark::State& state) {
        Abstract all = registry.All();
        std::int64_t rows = 0;
        for (auto _ : state) {
          for (all.MoveFirst(); !all.Eof(); all.MoveNext()) ++rows;
        }
        state.SetItemsProcessed(rows);
      },
      by_hand);
  Compare(
      "the same, with retrieving them",
      [&registry](benchmark::State& state) {
        std::int64_t rows = 0;
        for (auto _ : state) {
          Abstract all = registry.All();
          for (; !all.Eof(); all.MoveNext()) ++rows;
        }
        state.SetItemsProcessed(rows);
      },
      by_hand);
}

// A field of each table of the abstract.
std::vector<std::string> FieldOfEachTable(const NAACCRLayout& layout) {
  std::vector<std::string> names;
  for (const std::int16_t code : {1, 2, 4}) {
    std::int16_t index = 1;
    while (layout.FieldAbsTable(index) != code || layout.FieldType(index) == "X") ++index;
    names.push_back(layout.FieldName(index));
  }
  return names;
}

constexpr const char* kTables[] = {"Abstracts", "Abstracts_2", "Abstracts_3"};

void CompareMovesWithReads(BenchRegistry& registry, ByHand& hand) {
  const auto names = FieldOfEachTable(*registry.layout);
  Compare(
      "move and read a field of each of three tables",
      [&registry, names](benchmark::State& state) {
        Abstract all = registry.All();
        std::int64_t rows = 0;
        for (auto _ : state) {
          for (all.MoveFirst(); !all.Eof(); all.MoveNext(), ++rows) {
            for (const std::string& name : names) {
              benchmark::DoNotOptimize(all.FieldByName(name));
            }
          }
        }
        state.SetItemsProcessed(rows);
      },
      [&hand, names](benchmark::State& state) {
        std::int64_t rows = 0;
        for (auto _ : state) {
          sqlite3_stmt* row = hand.Prepare("SELECT * FROM Abstracts WHERE AbsRefID > 0");
          const auto columns = ColumnsOf(row);
          for (; sqlite3_step(row) == SQLITE_ROW; ++rows) {
            benchmark::DoNotOptimize(Text(row, columns.at(names[0])));
            const int key = sqlite3_column_int(row, columns.at("AbsRefID"));
            for (std::size_t t = 1; t < names.size(); ++t) {
              sqlite3_stmt* secondary = hand.RowOf(
                  "SELECT * FROM " + std::string(kTables[t]) + " WHERE AbsRefID = ?", key);
              benchmark::DoNotOptimize(Text(secondary, ColumnsOf(secondary).at(names[t])));
              sqlite3_reset(secondary);
            }
          }
        }
        state.SetItemsProcessed(rows);
      });
}

void CompareEdits(BenchRegistry& registry, ByHand& hand) {
  const auto names = FieldOfEachTable(*registry.layout);
  const auto value = [](int edit) { return std::to_string(edit % 10); };
  Compare(
      "edit a field of each table and save, committed",
      [&registry, names, value](benchmark::State& state) {
        int edit = 0;
        for (auto _ : state) {
          Transaction transaction(QMConnection().Registry());
          Abstract abstract = registry.data_sets.GetAbstract(++edit % kAbstracts + 1);
          for (const std::string& name : names) abstract.SetFieldByName(name, value(edit));
          abstract.Update();
          transaction.Commit();
        }
        state.SetItemsProcessed(edit);
      },
      [&hand, names, value](benchmark::State& state) {
        int edit = 0;
        for (auto _ : state) {
          hand.Run("BEGIN IMMEDIATE");
          const int key = ++edit % kAbstracts + 1;
          for (std::size_t t = 0; t < names.size(); ++t) {
            const std::string table = kTables[t];
            sqlite3_stmt* row = hand.RowOf("SELECT * FROM " + table + " WHERE AbsRefID = ?", key);
            benchmark::DoNotOptimize(Text(row, 1));
            sqlite3_reset(row);
            sqlite3_stmt* update =
                hand.Prepare("UPDATE " + table + " SET " + names[t] + " = ? WHERE AbsRefID = ?");
            const std::string text = value(edit);
            sqlite3_bind_text(update, 1, text.c_str(), -1, SQLITE_TRANSIENT);
            sqlite3_bind_int(update, 2, key);
            hand.Run(update);
          }
          hand.Run("COMMIT");
        }
        state.SetItemsProcessed(edit);
      });
}

// The rows of the field table into memory: numbers as numbers, all else as texts.
void CompareLayoutLoads(BenchRegistry& registry, ByHand& control) {
  const std::string query = "Select * from " + registry.layout->ControlTable() +
                            " where CTL_Array_vlm = -1 order by ColumnStart";
  Compare(
      "layout load, " + std::to_string(registry.layout->FieldsCount()) + " items",
      [](benchmark::State& state) {
        for (auto _ : state) benchmark::DoNotOptimize(QMDataSets().GetNAACCRLayout());
        state.SetItemsProcessed(state.iterations());
      },
      [&control, query](benchmark::State& state) {
        struct Value {
          std::int64_t number = 0;
          std::string text;
        };
        for (auto _ : state) {
          std::vector<std::vector<Value>> rows;
          sqlite3_stmt* row = control.Prepare(query);
          while (sqlite3_step(row) == SQLITE_ROW) {
            auto& values = rows.emplace_back(static_cast<std::size_t>(sqlite3_column_count(row)));
            for (int i = 0; i < sqlite3_column_count(row); ++i) {
              Value& value = values[static_cast<std::size_t>(i)];
              if (sqlite3_column_type(row, i) == SQLITE_INTEGER) {
                value.number = sqlite3_column_int64(row, i);
              } else {
                value.text = Text(row, i);
              }
            }
          }
          benchmark::DoNotOptimize(rows);
        }
        state.SetItemsProcessed(state.iterations());
      });
}

constexpr std::int32_t kFirstAdded = 1000001;

// The statements of an abstract, and one of them with places for its values.
struct AddedAbstract {
  std::array<std::string, 3> texts;
  std::array<std::vector<std::string>, 3> values;  ///< behind the key
};

class AddedAbstracts {
 public:
  AddedAbstracts(BenchRegistry& registry, ByHand& hand) : registry_(registry), hand_(hand) {
    std::int32_t id = kFirstAdded;
    for (const std::string& record : registry.records) {
      const auto texts =
          registry.StatementsOf([&] { registry.data_sets.AddAbstract(record, false, {}, id); });
      AddedAbstract& added = added_.emplace_back();
      std::copy_n(texts.begin(), added.texts.size(), added.texts.begin());
      for (std::size_t t = 0; t < added.texts.size(); ++t) added.values[t] = ValuesOf(t, id);
      ++id;
    }
    Remove();
  }
  const std::vector<AddedAbstract>& All() const { return added_; }
  /// The statement of a table with a place for each value.
  std::string Shape(std::size_t table) const {
    const std::string& text = added_.front().texts[table];
    std::string shape = text.substr(0, text.find(" values (")) + " values (?";
    for (std::size_t i = 0; i < added_.front().values[table].size(); ++i) shape += ", ?";
    return shape + ")";
  }
  void Remove() {
    for (const char* table : kTables) {
      hand_.Run("DELETE FROM " + std::string(table) +
                " WHERE AbsRefID >= " + std::to_string(kFirstAdded));
    }
  }

 private:
  std::vector<std::string> ValuesOf(std::size_t table, std::int32_t id) {
    const std::string& text = added_.back().texts[table];
    const auto open = text.find('(') + 1;
    sqlite3_stmt* row = hand_.RowOf("SELECT " + text.substr(open, text.find(')') - open) +
                                        " FROM " + kTables[table] + " WHERE AbsRefID = ?",
                                    id);
    std::vector<std::string> values;
    for (int i = 1; i < sqlite3_column_count(row); ++i) values.push_back(Text(row, i));
    sqlite3_reset(row);
    return values;
  }

  BenchRegistry& registry_;
  ByHand& hand_;
  std::vector<AddedAbstract> added_;
};

// A thousand in one transaction.
void CompareAddAbstract(BenchRegistry& registry, ByHand& hand) {
  const auto abstracts = std::make_shared<AddedAbstracts>(registry, hand);
  const auto measure = [abstracts](auto add_all) {
    return [abstracts, add_all](benchmark::State& state) {
      for (auto _ : state) {
        add_all();
        state.PauseTiming();
        abstracts->Remove();
        state.ResumeTiming();
      }
      state.SetItemsProcessed(state.iterations() *
                              static_cast<std::int64_t>(abstracts->All().size()));
    };
  };
  const auto library = measure([&registry] {
    Transaction transaction(QMConnection().Registry());
    std::int32_t id = kFirstAdded;
    for (const std::string& record : registry.records) {
      registry.data_sets.AddAbstract(record, false, {}, id++);
    }
    transaction.Commit();
  });
  Compare("AddAbstract, a thousand a transaction", library, measure([abstracts, &hand] {
            hand.Run("BEGIN IMMEDIATE");
            for (const AddedAbstract& added : abstracts->All()) {
              for (const std::string& text : added.texts) hand.RunOnce(text);
            }
            hand.Run("COMMIT");
          }));
  std::array<std::string, 3> shapes;
  for (std::size_t t = 0; t < shapes.size(); ++t) shapes[t] = abstracts->Shape(t);
  Compare("the same, values bound to statements kept", library, measure([abstracts, &hand, shapes] {
            hand.Run("BEGIN IMMEDIATE");
            std::int32_t id = kFirstAdded;
            for (const AddedAbstract& added : abstracts->All()) {
              for (std::size_t t = 0; t < shapes.size(); ++t) {
                sqlite3_stmt* insert = hand.Prepare(shapes[t]);
                int place = 0;
                sqlite3_bind_int(insert, ++place, id);
                for (const std::string& value : added.values[t]) {
                  sqlite3_bind_text(insert, ++place, value.data(), static_cast<int>(value.size()),
                                    SQLITE_STATIC);
                }
                hand.Run(insert);
              }
              ++id;
            }
            hand.Run("COMMIT");
          }));
}

}  // namespace

}  // namespace qm::bench

int main(int argc, char** argv) {
  using namespace qm::bench;
  try {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    BenchRegistry registry;
    ByHand hand(registry.File());
    ByHand control(registry.ControlFile());
    CompareFieldReads(registry, hand);
    CompareLayoutLoads(registry, control);
    CompareAddAbstract(registry, hand);
    CompareMoves(registry, hand);
    CompareMovesWithReads(registry, hand);
    CompareEdits(registry, hand);
    for (const auto& [engine, variable] :
         {std::pair{"PostgreSQL", "QM_TEST_POSTGRESQL"}, std::pair{"MariaDB", "QM_TEST_MARIADB"}}) {
      const char* server = std::getenv(variable);
      if (server != nullptr && *server != '\0') CompareServerRows(engine, server);
    }
    RatioTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    benchmark::Shutdown();
    return table.Failed() ? 1 : 0;
  } catch (const std::exception& error) {
    std::cerr << "qm_benchmarks: " << error.what() << '\n';
    return 1;
  }
}
