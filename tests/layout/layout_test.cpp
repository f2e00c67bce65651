#include <gtest/gtest.h>

#include "layout/layout_lists.h"
#include "session/session_state.h"
#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

std::string Names(const NAACCRLayout& layout) {
  std::string names;
  for (std::int16_t i = 1; i <= layout.FieldsCount(); ++i) names += layout.FieldName(i) + " ";
  return names;
}

TEST(Layout, LoadsTextsFirstEachGroupInOrder) {
  SmallRegistry small;
  const auto layout = small.data_sets.GetNAACCRLayout();
  EXPECT_EQ(layout->Version(), "18");  // 9 sorts below 18 in a column of numbers
  EXPECT_EQ(layout->NAACCRGlobalValue(), "180,181");
  EXPECT_EQ(layout->NAACCRExchgValue(), "180");
  EXPECT_TRUE(layout->MetaFileName().ends_with("\\edits\\meta.emf")) << layout->MetaFileName();
  EXPECT_EQ(Names(*layout),
            "TextDx TextHx RecType LastName BirthDate SocSec SeqNumCentr Dose HistCode ");
  EXPECT_EQ(layout->TextFieldsCount(), 2);
  EXPECT_EQ(layout->TextField(1), 2600);
  EXPECT_EQ(layout->RecordLength(qmRecordTypeA), 78);
  EXPECT_EQ(layout->RecordLength(qmRecordTypeC), 34);
  EXPECT_EQ(layout->RecordLength(qmRecordTypeI), 30);
  EXPECT_EQ(layout->ColVersionID() * 100 + layout->ColRecType() * 10 + layout->ColProjects(), 1715);
  EXPECT_EQ(layout->AbsTableCnt() * 100 + layout->PatTableCnt() * 10 + layout->MedTableCnt(), 322);
  EXPECT_EQ(layout->FieldType(1) + layout->FieldPrompting(1), "XX");
  EXPECT_EQ(layout->FieldDescription(6) + layout->FieldJustification(6), "about SocSecY");
  EXPECT_EQ(layout->FieldAbsTable(6) * 10 + layout->FieldPatTable(6), 41);
  EXPECT_EQ(layout->FieldRow(6), -1);
  EXPECT_EQ(layout->IsPatientField(6), -1);
  const auto& lists = CurrentSession().AbsTableFieldList;
  EXPECT_EQ(lists[0] + ";" + lists[1] + ";" + lists[2],
            "AbsRefID,RecType,LastName;AbsRefID,BirthDate,SeqNumCentr,HistCode;AbsRefID,SocSec");
  EXPECT_EQ(small.data_sets.GetNAACCRLayout(18, "FieldName desc"), layout);
  EXPECT_EQ(Names(*layout),
            "TextHx TextDx SocSec SeqNumCentr RecType LastName HistCode Dose BirthDate ");
}

TEST(Layout, AReloadSetsEveryTableToOneAndKeepsListsAndCounts) {
  SmallRegistry small;
  const auto layout = small.data_sets.GetNAACCRLayout();
  small.data_sets.GetNAACCRLayout(18);
  for (std::int16_t i = 1; i <= layout->FieldsCount(); ++i) {
    EXPECT_EQ(layout->FieldAbsTable(i), 1);
    EXPECT_EQ(layout->FieldPatTable(i), 1);
    EXPECT_EQ(layout->FieldMedTable(i), 1);
  }
  EXPECT_EQ(layout->AbsTableCnt(), 3);
  EXPECT_EQ(AbstractColumns(*layout, 3).columns, "AbsRefID,SocSec");
  EXPECT_EQ(AbstractColumns(*layout, 3).fields, std::vector<std::int16_t>{6});
}

TEST(Layout, FailuresOfLoading) {
  SmallRegistry small;
  const auto load = [&](std::uint16_t version) {
    return Raises([&] { small.data_sets.GetNAACCRLayout(version); });
  };
  for (const std::uint16_t version : {0, 17}) {
    const Failure failure = load(version);
    EXPECT_EQ(failure.number, -2147220400);
    EXPECT_EQ(failure.source, "NAACCRLayout");
    EXPECT_EQ(failure.description, "NAACCR Parameters not found in the control database.");
  }
  const Failure version = load(9);
  EXPECT_EQ(version.number, 1115);
  EXPECT_EQ(version.description, "NAACCR Version 9 not found in the control database.");

  small.ChangeControl("UPDATE [NAACCR Versions] SET LenAbstract = 40000");
  EXPECT_EQ(load(18).number, kErrOverflow);
}

TEST(Layout, AnyFailureAmongTheFieldsIs438AndLeavesTheLayoutSafe) {
  struct Case {
    const char* change;
    int loaded;
  };
  for (const Case& c :
       {Case{"UPDATE Fields SET CTL_Array_ts = 0", 0},
        Case{"UPDATE Fields SET FieldName = NULL WHERE NAACCR_Item_No = 380", 5},
        Case{"UPDATE Fields SET NAACCR_Item_No = 'x' WHERE NAACCR_Item_No = 240", 3},
        Case{"UPDATE Fields SET ColumnStart = 40000 WHERE NAACCR_Item_No = 240", 9},
        Case{"UPDATE Fields SET vlmAbsTable = NULL", 9}, Case{"DROP TABLE Fields", 0},
        Case{"ALTER TABLE Fields DROP COLUMN UnknownValues", 1},
        Case{"UPDATE Fields SET MedTable = 0", 9}}) {
    SmallRegistry small;
    const auto layout = std::make_shared<NAACCRLayout>();
    small.data_sets.SetNAACCRLayout(layout);
    small.ChangeControl(c.change);
    const Failure failure = Raises([&] { small.data_sets.GetNAACCRLayout(); });
    EXPECT_EQ(failure.number, kErrNoSuchMember) << c.change;
    EXPECT_EQ(failure.description, "Object doesn't support this property or method");
    EXPECT_EQ(layout->FieldsCount(), c.loaded) << c.change;
    for (const char* name : {"TextDx", "RecType", "BirthDate", "HistCode"}) {
      EXPECT_LE(layout->IndexByFieldName(name), c.loaded);
    }
  }
}

TEST(Layout, TwentyTextFieldsLoadAndTwentyOneDoNot) {
  for (const int count : {20, 21}) {
    std::vector<SmallField> fields = SmallFields();
    for (int k = 2; k < count; ++k) {
      fields.push_back({4000 + k, "Text" + std::to_string(k), 100 + k, 1, "X", "L", 1, 0, 0});
    }
    SmallRegistry small(fields);
    auto layout = std::make_shared<NAACCRLayout>();
    small.data_sets.SetNAACCRLayout(layout);
    const Failure failure = Raises([&] { small.data_sets.GetNAACCRLayout(); });
    EXPECT_EQ(failure.number, count == 20 ? 0 : kErrNoSuchMember);
    std::string memo;
    const std::vector<std::string> texts(30, "t");
    const Failure packing = Raises([&] { layout->CompressMemoText(memo, texts); });
    EXPECT_EQ(packing.number, count == 20 ? 0 : kObjectErrorBase + 1314);
    // Loaded so far: look-ups see exactly that.
    EXPECT_EQ(layout->IndexByFieldName("Text20"), -1);
    EXPECT_GT(layout->IndexByFieldName("LastName"), count);
  }
}

TEST(Layout, LookUpsGiveTheFirstOfAScan) {
  std::vector<SmallField> fields = SmallFields();
  fields.push_back({10, "lastname", 90, 1, "", "L", 1, 0, 0});
  fields.push_back({11, "AñO", 91, 1, "", "L", 1, 0, 0});
  fields.push_back({12, "absrefid", 92, 1, "", "L", 1, 0, 0});
  SmallRegistry small(fields);
  const auto layout = small.data_sets.GetNAACCRLayout();
  EXPECT_EQ(layout->IndexByFieldName("LASTNAME"), 4);
  EXPECT_EQ(layout->FieldIndex("lastName"), 4);
  EXPECT_EQ(layout->IndexByFieldName("aÑo"), 11);
  EXPECT_EQ(layout->IndexByFieldName("aXo"), -1);
  EXPECT_EQ(layout->IndexByNAACCRItemNo(10), 3);
  EXPECT_EQ(layout->IndexByNAACCRItemNo(1), -1);
  EXPECT_EQ(NAACCRLayout().IndexByFieldName(""), -1);
  EXPECT_EQ(AbstractColumns(*layout, 1).columns, "AbsRefID,RecType,LastName,lastname,AñO");
  const Failure unknown = Raises([&] { (void)layout->FieldIndex("Nobody"); });
  EXPECT_EQ(unknown.number, kObjectErrorBase + 1318);
  EXPECT_EQ(unknown.source + ": " + unknown.description,
            "NAACCRLayout: Invalid Field Name: Nobody");
}

TEST(Layout, GettersReportTheirOwnNumbers) {
  SmallRegistry small;
  const auto layout = small.data_sets.GetNAACCRLayout();
  struct Case {
    std::int32_t number;
    std::string member;
    std::function<void(std::int16_t)> get;
  };
  const NAACCRLayout& l = *layout;
  const Case cases[] = {
      {1302, "FieldName", [&](auto i) { (void)l.FieldName(i); }},
      {1303, "FieldNumber", [&](auto i) { (void)l.FieldNumber(i); }},
      {1304, "FieldLength", [&](auto i) { (void)l.FieldLength(i); }},
      {1305, "FieldStart", [&](auto i) { (void)l.FieldStart(i); }},
      {1306, "FieldType", [&](auto i) { (void)l.FieldType(i); }},
      {1307, "FieldType", [&](auto i) { (void)l.FieldPrompting(i); }},
      {1308, "FieldDescription", [&](auto i) { (void)l.FieldDescription(i); }},
      {1309, "FieldJustification", [&](auto i) { (void)l.FieldJustification(i); }},
      {1310, "IsPatientField", [&](auto i) { (void)l.IsPatientField(i); }},
      {1311, "IsAbstractField", [&](auto i) { (void)l.IsAbstractField(i); }},
      {1312, "IsMedicalSummaryField", [&](auto i) { (void)l.IsMedicalSummaryField(i); }},
      {1313, "IsProtected", [&](auto i) { (void)l.IsProtected(i); }}};
  for (const Case& c : cases) {
    EXPECT_EQ(Raises([&] { c.get(0); }).number, 0) << c.member;
    for (const std::int16_t index : {-1, 10}) {
      const Failure failure = Raises([&] { c.get(index); });
      EXPECT_EQ(failure.number, kObjectErrorBase + c.number);
      EXPECT_EQ(failure.source, "QMData.NAACCRLayout." + c.member);
      EXPECT_EQ(failure.description, "Invalid index");
    }
  }
  EXPECT_EQ(Raises([&] { (void)l.RecordLength(4); }).number, kObjectErrorBase + 1300);
  EXPECT_EQ(Raises([&] { (void)l.TextField(21); }).number, kErrSubscript);
  EXPECT_EQ(Raises([&] { (void)l.FieldMedTable(10); }).number, kErrSubscript);
}

TEST(Layout, CopiesDoNotFollowLaterChanges) {
  SmallRegistry small;
  const auto layout = small.data_sets.GetNAACCRLayout();
  ControlArrays copy;
  layout->GetControlArrays(copy);
  layout->SetFieldProtected(4, true);
  layout->SetFieldInvisible(4, true);
  layout->SetFieldDefaultVal(4, "none");
  layout->SetFieldRow(4, 12);
  layout->Setfieldvalue(4, "scratch");
  EXPECT_EQ(layout->IsProtected(4), -1);
  EXPECT_TRUE(layout->FieldInvisible(4));
  EXPECT_EQ(layout->FieldDefaultVal(4) + layout->fieldvalue(4), "nonescratch");
  EXPECT_EQ(copy.iField_Protected[4] + copy.iField_Invisible[4] + copy.iField_Row[4], -1);
  EXPECT_EQ(copy.sField_DefaultVal[4], "");
  EXPECT_EQ(copy.sField_Name[4] + copy.sField_Just[5], "LastNameD");
  EXPECT_EQ(copy.iAbsTableNo[6] * 100 + copy.iPatTableNo[6] * 10 + copy.iMedTableNo[6], 410);
}

TEST(Layout, MemoText) {
  SmallRegistry small;
  const auto layout = small.data_sets.GetNAACCRLayout();  // TextHx (2510) ranks before TextDx
  const auto marked = [](std::string text) {
    for (char& c : text) {
      if (c == '|') c = '\x02';
    }
    return text;
  };
  struct Case {
    const char* memo;
    int status;
    const char* texts;  // of fields 1 and 2
    const char* after;
  };
  for (const Case& c : {Case{"", 0, "/", ""}, Case{"hx|dx|", 0, "dx/hx", "hx|dx|"},
                        Case{" h |d", -1, "d/ h ", " h |d|"}, Case{"h|", -1, "/h", "h||"},
                        Case{"h", -1, "/h", "h||"}, Case{"h|d|more", 0, "d/h", "h|d|more"},
                        Case{"h|d|more|", 1, "d/h", "h|d|more|"}}) {
    std::string memo = marked(c.memo);
    std::vector<std::string> texts(3, "old");
    EXPECT_EQ(layout->GetMemoTextArray(memo, texts), c.status) << c.memo;
    EXPECT_EQ(texts[1] + "/" + texts[2], c.texts) << c.memo;
    EXPECT_EQ(memo, marked(c.after));
  }
  std::string memo = "old";
  EXPECT_EQ(layout->CompressMemoText(memo, {"", " dx ", "h x "}), 0);
  EXPECT_EQ(memo, marked("h x|dx|"));
  std::vector<std::string> few(2);
  const Failure unpack = Raises([&] { layout->GetMemoTextArray(memo, few); });
  EXPECT_EQ(unpack.number, kObjectErrorBase + 1315);
  EXPECT_EQ(unpack.source + ": " + unpack.description,
            "QMObjects.NAACCRLayOut.GetMemoTextArray: Subscript out of range");

  std::vector<std::string> texts;
  EXPECT_EQ(layout->GetTextFromNAACCRRec(std::string(33, 'x') + "ñ  dx", texts), 0);
  EXPECT_EQ(texts, (std::vector<std::string>{"", "dx", ""}));
}

}  // namespace
}  // namespace qm::test
