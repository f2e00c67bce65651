// Every field of an imported record, read back through the record object, is what stands in the
// record's columns, trimmed and padded; checked on whole layouts, record types mixed in one file.
#include <gtest/gtest.h>
#include <qm/conversions.h>
#include <qm/data_sets.h>
#include <qm/importer.h>
#include <qm/qm_connection.h>
#include <qm/registry_setup.h>
#include <qm/session.h>

#include <fstream>
#include <map>
#include <vector>

#include "support/temp_folder.h"

namespace qm {
namespace {

/// A record as its characters, so that columns are counted without the library.
using Characters = std::vector<std::string>;

struct Sample {
  std::uint16_t version;
  Characters record;
};

std::string Columns(const Characters& record, int start, int length) {
  std::string text;
  for (int i = start - 1; i < start - 1 + length; ++i) {
    if (i < static_cast<int>(record.size())) text += record[static_cast<std::size_t>(i)];
  }
  return text;
}

void Put(Characters& record, int start, const std::string& ascii) {
  for (std::size_t i = 0; i < ascii.size(); ++i) {
    record.at(static_cast<std::size_t>(start) - 1 + i) = ascii.substr(i, 1);
  }
}

Characters MakeRecord(const NAACCRLayout& layout, const std::string& type, int length, int seed) {
  Characters record(static_cast<std::size_t>(length), " ");
  for (std::int16_t i = 1; i <= layout.FieldsCount(); ++i) {
    const int start = layout.FieldStart(i);
    const int width = layout.FieldLength(i);
    if (start + width - 1 > length) continue;
    switch ((i + seed) % 7) {
      case 0:  // empty
        break;
      case 1:  // shorter than the field, away from its start
        if (width > 2) record[static_cast<std::size_t>(start)] = "7";
        break;
      case 2:  // an apostrophe, or what it leads to, in a few fields of some records
        Put(record, start,
            std::string(static_cast<std::size_t>(width), seed % 2 == 0 ? '\'' : 'q'));
        break;
      case 3:
        record[static_cast<std::size_t>(start) - 1] = "Ñ";
        break;
      default:
        for (int k = 0; k < width; ++k) {
          Put(record, start + k, std::string(1, static_cast<char>('0' + (i + k + seed) % 10)));
        }
    }
    if (layout.FieldJustification(i) == "D") {
      Put(record, start, seed % 3 == 0 ? std::string(8, ' ') : "02281957");
    }
  }
  Put(record, layout.ColVersionID(), layout.NAACCRExchgValue());
  Put(record, layout.ColRecType(), type);
  return record;
}

std::string Expected(const NAACCRLayout& layout, std::int16_t i, const Characters& record) {
  std::string value = Columns(record, layout.FieldStart(i), layout.FieldLength(i));
  value.erase(0, std::min(value.find_first_not_of(' '), value.size()));
  value.erase(value.find_last_not_of(' ') + 1);
  if (value.empty() || layout.FieldType(i) == "X") return value;
  const std::string& code = layout.FieldJustification(i);
  if (code == "D") return "19570228";
  std::size_t characters = 0;
  for (const char c : value) characters += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
  const auto width = static_cast<std::size_t>(layout.FieldLength(i));
  const std::size_t missing = width > characters ? width - characters : 0;
  if (code == "Y") return std::string(missing, '0') + value;
  if (code == "R") return std::string(missing, ' ') + value;
  if (code == "Z") return value + std::string(missing, '0');
  return value;
}

TEST(ImportedFields, EqualTheColumnsOfTheRecord) {
  const test::TempFolder folder;
  const std::filesystem::path d = folder.path() / "d";
  CreateRegistryFolder(d, {{"11.3", "12", "16", "18"}});
  const SessionScope scope;
  QMConnection session;
  session.SetControl(
      session.Connect(SqliteConnectionString(d / "control.db"), qmModeReadWrite, 5, 5));
  session.SetRegistry(
      session.Connect(SqliteConnectionString(d / "registry.db"), qmModeReadWrite, 5, 5));

  std::map<std::uint16_t, QMDataSets> services;
  std::map<std::uint16_t, std::shared_ptr<NAACCRLayout>> layouts;
  for (const std::uint16_t version : {11, 12, 16, 18}) {
    layouts[version] = services[version].GetNAACCRLayout(version);
  }
  std::vector<Sample> samples;
  std::ofstream file(folder.File("f"), std::ios::binary);
  for (int seed = 0; seed < 4; ++seed) {
    for (const auto& [version, layout] : layouts) {
      const std::pair<const char*, std::int16_t> types[] = {{"I", layout->LengthOfIncidence()},
                                                            {"C", layout->LengthOfConfidential()},
                                                            {"A", layout->LengthOfAbstract()},
                                                            {"M", layout->LengthOfAbstract()}};
      const auto& [type, length] = types[(seed + version) % 4];
      samples.push_back({version, MakeRecord(*layout, type, length, seed)});
      for (const std::string& character : samples.back().record) file << character;
      file << '\n';
    }
  }
  file.close();

  const ImportSummary summary = Importer().ImportFile(folder.File("f"));
  EXPECT_EQ(summary.imported, static_cast<std::int64_t>(samples.size()));
  ASSERT_EQ(summary.rejected, 0) << folder.Read("f.rejects").substr(0, 200);
  int compared = 0;
  for (std::size_t n = 0; n < samples.size(); ++n) {
    const auto& [version, record] = samples[n];
    const NAACCRLayout& layout = *layouts[version];
    Abstract abstract = services[version].GetAbstract(static_cast<std::int32_t>(n + 1));
    abstract.SetAutoFormatValues(false);
    for (std::int16_t i = 1; i <= layout.FieldsCount(); ++i, ++compared) {
      ASSERT_EQ(ToTextOrEmpty(abstract.Fields(i)), Expected(layout, i, record))
          << "record " << n + 1 << ", version " << version << ", " << layout.FieldName(i);
    }
  }
  EXPECT_GT(compared, 8000);
}

}  // namespace
}  // namespace qm
