// PatientWriter: adds registered patients, each with one tumor, to the tables of a registry, many
// rows a statement. Which column of which table holds an item is the layout's say.
//
// Rows are held back until a statement is full: call `Flush` after the last one.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qm/connection.h>
#include <qm/naaccr_layout.h>

#include "synthetic/case_items.h"

namespace qm {

class PatientWriter {
 public:
  PatientWriter(std::shared_ptr<Connection> registry, const NAACCRLayout& layout);

  void Add(std::int64_t patient_id, std::int64_t tumor_id, const std::string& soundex,
           const ItemValues& patient, const ItemValues& tumor);
  void Flush();

 private:
  // A column of a table: the position of its item, and the field's index in the layout.
  struct Column {
    std::size_t item;
    std::int16_t index;
  };
  struct Table {
    std::string_view name;
    std::string_view keys;
    bool tumor;
    int number;
    std::vector<Column> columns;
    std::string heading;  // the statement up to its rows
    std::string rows;
  };

  void ChooseColumns(Table& table, const ItemValues& items) const;
  void AddRow(Table& table, const std::string& keys, const ItemValues& items);
  void Write(Table& table);

  std::shared_ptr<Connection> registry_;
  const NAACCRLayout& layout_;
  std::array<Table, 4> tables_;
};

}  // namespace qm
