// What is imported and exported again stands in the same columns: every item of whole layouts, by
// the padding rules, in records of every type; and a second time it gives the same bytes.
#include <gtest/gtest.h>
#include <qm/data_sets.h>
#include <qm/exporter.h>
#include <qm/importer.h>
#include <qm/qm_connection.h>
#include <qm/registry_setup.h>
#include <qm/session.h>

#include <array>
#include <fstream>
#include <vector>

#include "support/temp_folder.h"

namespace qm {
namespace {

/// A record as its characters, so that columns are counted without the library.
using Characters = std::vector<std::string>;

/// A date of month, day and year as it comes in and as it goes out.
constexpr std::array<std::pair<const char*, const char*>, 14> kDates = {
    {{"12251960", "12251960"},
     {"99999999", "99999999"},
     {"00000000", "00000000"},
     {"88888888", "88888888"},
     {"99991960", "99991960"},
     {"06991960", "06991960"},
     {"02311960", "02311960"},  // no day of the calendar
     {"19601225", "19601225"},  // year first
     {"1/5/1960", "1/5/1960"},  // typed
     {"UNKNOWN ", "UNKNOWN "},  //
     {"1960    ", "00001960"},  // numbers take eight digits
     {"  121960", "00121960"},  //
     {"   JUNE ", "JUNE    "},  // else blanks in front are gone
     {"        ", "        "}}};

std::string Joined(const Characters& record, int start, int length) {
  std::string text;
  for (int i = start - 1; i < start - 1 + length && i < static_cast<int>(record.size()); ++i) {
    text += record[static_cast<std::size_t>(i)];
  }
  return text;
}

Characters Split(const std::string& text) {
  Characters characters;
  for (const char c : text) {
    if ((static_cast<unsigned char>(c) & 0xC0U) == 0x80U) {
      characters.back() += c;
    } else {
      characters.emplace_back(1, c);
    }
  }
  return characters;
}

std::string FieldValue(int width, int choice) {
  const auto n = static_cast<std::size_t>(width);
  switch (choice % 7) {
    case 0:
      return {};
    case 1:
      return n > 2 ? " 7" : "7";
    case 2:
      return n > 3 ? "é'Ñ" : "é";
    case 3:
      return std::string(n, static_cast<char>('A' + choice % 26));
    case 4:
      return n > 6 ? " a\tb  c" : " ";
    default:
      return std::string(n - n / 3, static_cast<char>('0' + choice % 10));
  }
}

void PutText(Characters& record, int start, const std::string& value) {
  const Characters characters = Split(value);
  std::copy(characters.begin(), characters.end(), record.begin() + start - 1);
}

Characters MakeFullRecord(const NAACCRLayout& layout, const std::string& type, int length,
                          int seed) {
  Characters record(static_cast<std::size_t>(length), " ");
  for (std::int16_t i = 1; i <= layout.FieldsCount(); ++i) {
    const int start = layout.FieldStart(i);
    const int width = layout.FieldLength(i);
    if (start + width - 1 > length) continue;
    const bool date = layout.FieldJustification(i) == "D";
    const auto date_number = static_cast<std::size_t>(i + seed) % kDates.size();
    PutText(record, start, date ? kDates[date_number].first : FieldValue(width, i * 5 + seed));
  }
  PutText(record, layout.ColVersionID(), layout.NAACCRExchgValue());
  PutText(record, layout.ColRecType(), type);
  return record;
}

std::string Expected(const NAACCRLayout& layout, std::int16_t i, std::string columns) {
  const std::string& code = layout.FieldJustification(i);
  if (code == "D") {
    for (const auto& [in, out] : kDates) {
      if (columns == in) return out;
    }
  }
  const std::size_t width = Split(columns).size();
  columns.erase(0, std::min(columns.find_first_not_of(' '), columns.size()));
  columns.erase(columns.find_last_not_of(' ') + 1);
  const std::string rest(width - Split(columns).size(), ' ');
  const std::string zeros(rest.size(), '0');
  if (columns.empty() || layout.FieldType(i) == "X") return columns + rest;
  return code == "Y"   ? zeros + columns
         : code == "Z" ? columns + zeros
         : code == "R" ? rest + columns
                       : columns + rest;
}

TEST(RoundTrip, EveryItemOfEveryLayoutComesOutAsItCameIn) {
  const test::TempFolder folder;
  for (const char* version : {"11.3", "16", "18"}) {
    SCOPED_TRACE(version);
    const std::filesystem::path d = folder.path() / version;
    CreateRegistryFolder(d, {{version}});
    const SessionScope scope;
    QMConnection session;
    session.SetControl(
        session.Connect(SqliteConnectionString(d / "control.db"), qmModeReadWrite, 5, 5));
    session.SetRegistry(
        session.Connect(SqliteConnectionString(d / "registry.db"), qmModeReadWrite, 5, 5));
    const auto layout = QMDataSets().GetNAACCRLayout();
    const std::pair<const char*, std::int16_t> types[] = {{"I", layout->LengthOfIncidence()},
                                                          {"C", layout->LengthOfConfidential()},
                                                          {"A", layout->LengthOfAbstract()},
                                                          {"M", layout->LengthOfAbstract()}};
    std::vector<Characters> records;
    std::ofstream file(d / "in", std::ios::binary);
    for (int seed = 0; seed < 8; ++seed) {
      const auto& [type, length] = types[seed % 4];
      records.push_back(MakeFullRecord(*layout, type, length, seed));
      file << Joined(records.back(), 1, length) << '\n';
    }
    file.close();
    ASSERT_EQ(Importer().ImportFile(d / "in").imported, std::ssize(records));
    ASSERT_EQ(Exporter().ExportAbstracts({}, d / "out").records, std::ssize(records));

    std::ifstream exported(d / "out", std::ios::binary);
    std::string line;
    for (const Characters& record : records) {
      ASSERT_TRUE(std::getline(exported, line));
      const Characters columns = Split(line);
      ASSERT_EQ(columns.size(), record.size());
      for (std::int16_t i = 1; i <= layout->FieldsCount(); ++i) {
        const int start = layout->FieldStart(i);
        const int width = layout->FieldLength(i);
        if (start > std::ssize(record)) continue;
        EXPECT_EQ(Joined(columns, start, width), Expected(*layout, i, Joined(record, start, width)))
            << layout->FieldName(i);
      }
    }
    EXPECT_FALSE(std::getline(exported, line));

    // Once more, by way of another file format.
    ExportOptions other;
    other.crlf = true;
    Exporter(other).ExportAbstracts({}, d / "out.gz");
    const auto count = static_cast<std::int32_t>(records.size());
    ASSERT_EQ(Importer().ImportFile(d / "out.gz").imported, count);
    std::vector<std::int32_t> ids;
    for (std::int32_t id = count + 1; id <= 2 * count; ++id) ids.push_back(id);
    Exporter().ExportAbstracts(ids, d / "again");
    EXPECT_EQ(folder.Read(std::string(version) + "/again"),
              folder.Read(std::string(version) + "/out"));
  }
}

}  // namespace
}  // namespace qm
