#include <gtest/gtest.h>

#include "datasets/record_values.h"
#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

//                           1         2         3         4
//                  1234567890123456789012345678901234567890
const char kRecord[] = "AMu\xC3\xB1oz     02032001123      5 12   text";

TEST(AddAbstract, StoresOneRowInEachTable) {
  SmallRegistry small;
  small.data_sets.GetNAACCRLayout();
  const auto registry = small.connection.Registry();
  std::vector<std::string> statements;
  registry->SetStatementObserver([&](std::string_view text) { statements.emplace_back(text); });
  EXPECT_FALSE(small.data_sets.AddAbstract(kRecord, true, {}, 31).has_value());
  const std::vector<std::string> expected = {
      "INSERT INTO Abstracts (AbsRefID,RecType,LastName) values (31, 'A', 'Mu\xC3\xB1oz')",
      "INSERT INTO Abstracts_2 (AbsRefID,BirthDate,SeqNumCentr,HistCode) values"
      " (31, '20010203', '05', '')",
      "INSERT INTO Abstracts_3 (AbsRefID,SocSec) values (31, '000000123')"};
  EXPECT_EQ(statements, expected);
  // After a reload every field reports table 1; columns and values still agree.
  small.data_sets.GetNAACCRLayout(18);
  small.data_sets.AddAbstract(kRecord);
  EXPECT_EQ(small.Registry("SELECT SocSec FROM Abstracts_3 WHERE AbsRefID = -1"), "000000123");
  registry->SetStatementObserver({});
  EXPECT_EQ(small.data_sets.GetAbstract(31).FieldByName("TextDx"), Variant(""));
}

TEST(AddAbstract, AnApostropheBreaksItsStatementAndNothingIsUndone) {
  SmallRegistry small;
  small.data_sets.GetNAACCRLayout();
  std::string record = kRecord;
  record[20] = '\'';  // in the third table's value
  const Failure failure = Raises([&] { small.data_sets.AddAbstract(record, false, {}, 31); });
  EXPECT_EQ(failure.number, kErrStatement);
  EXPECT_EQ(small.Registry("SELECT (SELECT count(*) FROM Abstracts_2 WHERE AbsRefID = 31),"
                           " (SELECT count(*) FROM Abstracts_3 WHERE AbsRefID = 31)"),
            "1|0");
}

TEST(AddAbstract, CutsAndFormatsEveryFieldThatIsNoText) {
  std::vector<SmallField> fields = SmallFields();
  fields.push_back({12, "AbsRefID", 1, 3, "", "L", 1, 0, 0});
  SmallRegistry small(fields);
  const auto layout = small.data_sets.GetNAACCRLayout();
  const auto cut = [&](std::string_view record) {
    std::string values;
    for (const auto& [index, value] : CutRecord(*layout, record)) {
      values += layout->FieldName(index) + "=" + value + " ";
    }
    return values;
  };
  EXPECT_EQ(cut(kRecord),
            "RecType=A LastName=Mu\xC3\xB1oz BirthDate=20010203 SocSec=000000123 "
            "SeqNumCentr=05 Dose=  12 HistCode= ");
  EXPECT_EQ(cut("A"), "RecType=A LastName= BirthDate= SocSec= SeqNumCentr= Dose= HistCode= ");
  const std::string padding(10, ' ');
  for (const auto& [date, stored] :
       std::initializer_list<std::pair<const char*, const char*>>{{"88888888", "88888888"},
                                                                  {"99999999", "99999999"},
                                                                  {"00000000", "00000000"},
                                                                  {"02292001", "02/29/2001"},
                                                                  {"20010203", "20/01/0203"},
                                                                  {"MAY 2001", "MAY 2001"},
                                                                  {"99992001", "20019999"},
                                                                  {"0", "00000000"},
                                                                  {"", ""}}) {
    EXPECT_NE(cut("A" + padding + date).find("BirthDate=" + std::string(stored) + " "),
              std::string::npos)
        << date << ": " << cut("A" + padding + date);
  }
  fields.push_back({13, "NoColumn", 0, 3, "", "L", 1, 0, 0});
  SmallRegistry without_start(fields);
  const auto other = without_start.data_sets.GetNAACCRLayout();
  EXPECT_EQ(Raises([&] { CutRecord(*other, kRecord); }).number, kErrInvalidCall);
}

}  // namespace
}  // namespace qm::test
