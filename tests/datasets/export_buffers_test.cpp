// The two record buffers on a registry of a few fields: what stands in which column, and what each
// of the two does differently.
#include <gtest/gtest.h>

#include "runtime/text.h"
#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

// SeqNumCentr and HistCode overlap; columns 8, 9 and 35 to 39 belong to no field.
std::vector<SmallField> BufferFields() {
  return {{10, "RecType", 1, 1, "", "L", 1, 0, 1},       {2230, "LastName", 2, 6, "", "L", 1, 1, 1},
          {240, "BirthDate", 10, 8, "", "D", 2, 2, 0},   {2320, "SocSec", 18, 6, "", "Y", 4, 1, 0},
          {380, "SeqNumCentr", 24, 4, "", "R", 2, 0, 1}, {522, "HistCode", 26, 4, "", "Z", 2, 0, 2},
          {2600, "TextDx", 30, 5, "X", "L", 0, 0, 0},    {500, "Dose", 40, 4, "", "L", 4, 0, 0}};
}

constexpr std::pair<const char*, const char*> kRows[] = {
    {"Abstracts", "AbsRefID = 5"},    {"Abstracts_2", "AbsRefID = 5"},
    {"Abstracts_3", "AbsRefID = 5"},  {"Patients", "PatientID = 7"},
    {"Patients_2", "PatientID = 7"},  {"MedicalSum", "MedRefID = 70"},
    {"MedicalSum_2", "MedRefID = 70"}};

class ExportBuffers : public testing::Test {
 protected:
  ExportBuffers() : small_(BufferFields()) {
    small_.ChangeControl(
        "UPDATE Fields SET patGrid = -(PatTable > 0), medGrid = -(MedTable > 0 OR Prompting = 'X');"
        "UPDATE [NAACCR Versions] SET LenAbstract = 43 WHERE VersionID = '18'");
    small_.ChangeRegistry("ALTER TABLE MedicalSum ADD COLUMN LastName TEXT");
    small_.data_sets.GetNAACCRLayout();
  }

  std::string Facility() {
    Abstract abstract = small_.data_sets.GetAbstract(5);
    return small_.data_sets.CreateFacilityNAACCRBuffer(abstract);
  }
  std::string Consolidated() {
    Patient patient = small_.data_sets.GetPatient(7);
    Tumor tumor = small_.data_sets.GetTumor(70);
    return small_.data_sets.CreateConsolidatedNAACCRBuffer(patient, tumor);
  }

  SmallRegistry small_;
};

TEST_F(ExportBuffers, ValuesStandFormattedInTheirColumns) {
  EXPECT_EQ(Facility(), "AGarcia  02032001000123  8000hx        7   ");
  EXPECT_EQ(Consolidated(), "AGarcia  02032001000123028070              ");
  struct Case {
    const char* values;  // of the abstract, the patient and the tumor alike
    const char* column;
    std::size_t start;
    const char* facility;
    const char* consolidated;
  };
  const Case cases[] = {{"'ÑANDÚÍX'", "LastName", 1, "AÑANDÚÍ  0", "AÑANDÚÍ  0"},
                        {"'  Ng'", "LastName", 1, "ANg      0", "ANg      0"},
                        {"NULL", "LastName", 1, "A        0", "A        0"},
                        {"''", "SocSec", 18, "000000", "000000"},
                        {"NULL", "SocSec", 18, "      ", "      "},
                        {"'1234567'", "SocSec", 18, "123456", "123456"},
                        {"'ÑÜßé'", "SeqNumCentr", 24, "ÑÜ8000", "ÑÜ8070"},
                        {"'99999999'", "BirthDate", 10, "99999999", "99999999"},
                        {"'19609999'", "BirthDate", 10, "99991960", "99991960"},
                        {"'02/31/1960'", "BirthDate", 10, "02311960", "02311960"},
                        {"'0'", "BirthDate", 10, "00000000", "00000000"},
                        {"'1960'", "BirthDate", 10, "1960    ", "1960    "},
                        {"'12/25/60x'", "BirthDate", 10, "12/25/60", "12/25/60"},
                        {"''", "BirthDate", 10, "        ", "        "},
                        {"'  x' || char(2)", "Remarks", 30, "  x  ", "x    "}};
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.column) + " " + c.values);
    for (const auto& [table, row] : kRows) {
      if (small_.Registry("SELECT count(*) FROM pragma_table_info('" + std::string(table) +
                          "') WHERE name = '" + c.column + "'") == "0") {
        continue;
      }
      small_.ChangeRegistry(std::string("UPDATE ") + table + " SET " + c.column + " = " + c.values +
                            " WHERE " + row);
    }
    EXPECT_EQ(CharacterSlice(Facility(), c.start - 1, CharacterCount(c.facility)), c.facility);
    EXPECT_EQ(CharacterSlice(Consolidated(), c.start - 1, CharacterCount(c.consolidated)),
              c.consolidated);
  }
}

TEST_F(ExportBuffers, TheTumorsValueWinsUnlessItIsNull) {
  for (const auto& [value, shown] :
       {std::pair{"'Lopez'", "Lopez "}, {"''", "      "}, {"NULL", "Garcia"}}) {
    small_.ChangeRegistry(std::string("UPDATE MedicalSum SET LastName = ") + value);
    EXPECT_EQ(Consolidated().substr(1, 6), shown);
  }
}

TEST_F(ExportBuffers, FormattingIsSetBackToTheAbstractsOrThePatients) {
  for (const bool before : {false, true}) {
    Abstract abstract = small_.data_sets.GetAbstract(5);
    Patient patient = small_.data_sets.GetPatient(7);
    Tumor tumor = small_.data_sets.GetTumor(70);
    abstract.SetAutoFormatValues(before);
    patient.SetAutoFormatValues(before);
    tumor.SetAutoFormatValues(!before);
    small_.data_sets.CreateFacilityNAACCRBuffer(abstract);
    small_.data_sets.CreateConsolidatedNAACCRBuffer(patient, tumor);
    EXPECT_EQ(abstract.AutoFormatValues(), before);
    EXPECT_EQ(patient.AutoFormatValues(), before);
    EXPECT_EQ(tumor.AutoFormatValues(), before);
  }
}

TEST_F(ExportBuffers, AFieldOutsideTheRecordFailsTheWhole) {
  struct Case {
    const char* change;
    std::string facility;
    std::string consolidated;
  };
  const Case cases[] = {{"UPDATE Fields SET ColumnStart = 0 WHERE FieldName = 'Dose'", "", "1108"},
                        {"UPDATE Fields SET ColumnStart = 44 WHERE FieldName = 'Dose'",  //
                         "1107", "1108"},
                        {"UPDATE Fields SET ColumnStart = 44, FieldLength = 0 WHERE FieldName ="
                         " 'Dose'",
                         "1107", ""}};
  for (const Case& c : cases) {
    small_.ChangeControl(c.change);
    QMDataSets data_sets;
    data_sets.GetNAACCRLayout();
    Abstract abstract = data_sets.GetAbstract(5);
    Patient patient = data_sets.GetPatient(7);
    Tumor tumor = data_sets.GetTumor(70);
    const auto number = [](const Failure& failure) {
      return failure.number == 0 ? "" : std::to_string(failure.number - kObjectErrorBase);
    };
    const Failure facility = Raises([&] { data_sets.CreateFacilityNAACCRBuffer(abstract); });
    const Failure consolidated =
        Raises([&] { data_sets.CreateConsolidatedNAACCRBuffer(patient, tumor); });
    EXPECT_EQ(number(facility), c.facility) << c.change;
    EXPECT_EQ(number(consolidated), c.consolidated) << c.change;
    EXPECT_EQ(abstract.AutoFormatValues(), facility.number != 0);
    if (facility.number == 0) continue;
    EXPECT_EQ(facility.source, "QMObjects.QMDatasets.CreateFacilityNAACCRBuffer");
    EXPECT_EQ(facility.description, RunTimeDescription(kErrInvalidCall));
  }
  QMDataSets without_layout;
  Abstract abstract = small_.data_sets.GetAbstract(5);
  EXPECT_EQ(without_layout.CreateFacilityNAACCRBuffer(abstract), "");
}

}  // namespace
}  // namespace qm::test
