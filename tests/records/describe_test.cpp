#include <gtest/gtest.h>

#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

struct Described : SmallRegistry {
  std::shared_ptr<NAACCRLayout> layout = data_sets.GetNAACCRLayout();
};

TEST(RecordDescription, IsThisRecordsOwnView) {
  Described small;
  small.layout->SetFieldInvisible(6, true);
  Abstract abstract = small.data_sets.GetAbstract(5);
  Abstract other = small.data_sets.GetAbstract(5);
  EXPECT_EQ(abstract.FieldName(6) + abstract.FieldLength(6) + abstract.FieldJustification(6),
            "SocSec9Y");
  EXPECT_EQ(abstract.FieldStartCol(6) * 10000 + abstract.FieldNAACCRNumber(6), 202320);
  EXPECT_EQ(abstract.FieldDescription(6) + abstract.FieldDefaultVal(6), "about SocSec");
  EXPECT_TRUE(abstract.FieldInvisible(6));
  EXPECT_EQ(abstract.FieldRow(6), -1);
  EXPECT_TRUE(abstract.FieldExists(6));
  EXPECT_FALSE(small.data_sets.GetTumor(70).FieldExists(6));
  for (std::int16_t i = 1; i <= small.layout->FieldsCount(); ++i) {
    EXPECT_EQ(abstract.FieldPrompting(i), abstract.FieldDataType(i));
  }
  abstract.SetFieldStart(6, 3);
  abstract.SetFieldRow(6, 12);
  abstract.SetFieldType(1, "");
  EXPECT_EQ(abstract.FieldStartCol(6) * 100 + abstract.FieldRow(6), 312);
  EXPECT_EQ(other.FieldStart(6) + other.FieldRow(6), 19);
  EXPECT_EQ(small.layout->FieldStart(6) + small.layout->FieldRow(6), 19);
  EXPECT_EQ(small.layout->FieldType(1), "X");
  EXPECT_EQ(Raises([&] { abstract.FieldByIndex(1); }).number, kErrNoSuchItem);  // no such column
  abstract.SetFieldType(1, "X");
  EXPECT_EQ(abstract.FieldByIndex(1), Variant("dx"));
  abstract.SetFieldType(3, "X");
  EXPECT_EQ(Raises([&] { abstract.FieldByIndex(3); }).number, kErrSubscript);  // two texts only
  EXPECT_EQ(other.FieldByIndex(3), Variant("A"));
  for (const std::int16_t index : {-1, 10}) {
    EXPECT_EQ(Raises([&] { abstract.FieldName(index); }).number, kErrSubscript);
    EXPECT_EQ(Raises([&] { abstract.SetFieldRow(index, 0); }).number, kErrSubscript);
  }
}

TEST(RecordDescription, TheGreatestValueIsThatOfTheTextsForMinToo) {
  Described small;
  small.ChangeRegistry(
      "UPDATE Abstracts_2 SET HistCode = CASE AbsRefID WHEN 5 THEN '10'"
      " WHEN 6 THEN '9' ELSE '100' END");
  const auto all = [&] { return small.data_sets.GetAbstract(kNoId, kNoId, kNoId, "1 = 1"); };
  EXPECT_EQ(all().Max("HistCode"), "9");
  EXPECT_EQ(all().Min("HistCode"), "9");
  Abstract padded = all();
  padded.SetAutoFormatValues(true);
  EXPECT_EQ(padded.Max("Dose"), "   7");
  EXPECT_TRUE(padded.Eof());
  EXPECT_EQ(Raises([&] { padded.Max("HistCode"); }).number, kErrNoCurrentRecord);
  EXPECT_EQ(Raises([&] { all().Min("Remarks"); }).number, kErrInvalidUseOfNull);
}

TEST(RecordDescription, XmlIsWrittenPieceByPieceFromTheCurrentRow) {
  Described small;
  Patient patient = small.data_sets.GetPatient(9);
  EXPECT_EQ(patient.GetXML(), Variant("<Recordset>\r\n<Record Row=\"1\">\r\n<Fields>\r\n"
                                      " <Field Name = \"TextDx\" Index = \"1\" Value= \"\"/> "
                                      " <Field Name = \"TextHx\" Index = \"2\" Value= \"\"/> "
                                      " <Field Name = \"RecType\" Index = \"3\" Value= \"\"/> "
                                      " <Field Name = \"LastName\" Index = \"4\" Value= \"Li\"/> "
                                      " <Field Name = \"BirthDate\" Index = \"5\" Value= \"\"/> "
                                      " <Field Name = \"SocSec\" Index = \"6\" Value= \"\"/> "
                                      " <Field Name = \"SeqNumCentr\" Index = \"7\" Value= \"\"/> "
                                      " <Field Name = \"Dose\" Index = \"8\" Value= \"\"/> "
                                      " <Field Name = \"HistCode\" Index = \"9\" Value= \"\"/> "
                                      "\r\n</Fields>\r\n</Record>\r\n</Recordset>"));
  EXPECT_EQ(patient.GetXML(), Variant("<Recordset>\r\n\r\n</Recordset>"));
  Abstract two = small.data_sets.GetAbstract(kNoId, 7);  // HistCode of the second is Null
  const Variant xml = two.GetXML();
  EXPECT_NE(xml.Get<std::string>().find("</Record><Record Row=\"2\">\r\n"), std::string::npos);
}

}  // namespace
}  // namespace qm::test
