#include <gtest/gtest.h>

#include <qm/hooks.h>

#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

// In the order of item numbers: RecType 10, BirthDate 240, SeqNumCentr 380, Dose 500, HistCode 522,
// LastName 2230, SocSec 2320, behind the texts 2510 and 2600.
struct Critical : SmallRegistry {
  Critical() {
    ChangeRegistry("CREATE TABLE CRITICALFIELDS (NAACCR_Item_No INTEGER, projectID INTEGER)");
    SetMessagePresenter([this](const Message& message) {
      EXPECT_EQ(message.title, "");
      EXPECT_EQ(message.buttons, MessageButtons::kOk);
      EXPECT_EQ(message.icon, MessageIcon::kNone);
      messages += message.text + ";";
      return MessageAnswer::kOk;
    });
  }
  ~Critical() { SetMessagePresenter({}); }

  std::shared_ptr<NAACCRLayout> layout = data_sets.GetNAACCRLayout(18, "NAACCR_Item_No");
  std::string messages;
};

TEST(CriticalFields, AreMergedForwardWithTheFields) {
  const auto missing = [](const char* item, const char* project) {
    return std::string("ERROR: NAACCR_Item_No ") + item + " in project " + project +
           " not found in arrays in LoadCritFieldCheck;";
  };
  struct Case {
    const char* rows;
    std::int32_t number;
    std::string flags;
    std::string messages;
  };
  constexpr std::int32_t kInvalidIndex = kObjectErrorBase + 1303;
  Critical critical;
  for (const Case& c :
       {Case{"", 0, "0 0 0 0 0 0 0 0 0 ", ""},
        Case{"(10, 1), (10, 3), (2320, 15), (522, 2)", 0, "0 0 5 0 0 0 2 0 16384 ", ""},
        Case{"(10, 0), (240, -1), (240, 1)", 0, "0 0 0 1 0 0 0 0 0 ", ""},
        Case{"(2510, 1), (2600, 2)", 0, "1 2 0 0 0 0 0 0 0 ", ""},
        Case{"(10, 1), (400, 2), (500, 1)", kInvalidIndex, "0 0 1 0 0 0 0 0 0 ",
             missing("400", "2")},
        Case{"(500, 1), (2510, 7)", kInvalidIndex, "0 0 0 0 0 1 0 0 0 ", missing("2510", "7")},
        Case{"(10, 1), (240, 16)", kErrOverflow, "0 0 1 0 0 0 0 0 0 ", ""},
        Case{"(10, NULL)", kErrInvalidUseOfNull, "0 0 0 0 0 0 0 0 0 ", ""}}) {
    critical.messages.clear();
    critical.ChangeRegistry("DELETE FROM CRITICALFIELDS");
    if (*c.rows != 0) {
      critical.ChangeRegistry("INSERT INTO CRITICALFIELDS VALUES " + std::string(c.rows));
    }
    for (int load = 0; load < 2; ++load) {
      EXPECT_EQ(Raises([&] { critical.layout->LoadCriticalFields(); }).number, c.number) << c.rows;
      std::string flags;
      for (std::int16_t i = 1; i <= critical.layout->FieldsCount(); ++i) {
        flags += std::to_string(critical.layout->FieldCriticalFlag(i)) + " ";
      }
      EXPECT_EQ(flags, c.flags) << c.rows;
    }
    EXPECT_EQ(critical.messages, c.messages + c.messages);
  }
  critical.ChangeRegistry("DROP TABLE CRITICALFIELDS");
  EXPECT_EQ(Raises([&] { critical.layout->LoadCriticalFields(); }).number, kErrNoSuchTable);
}

TEST(CriticalFields, PromptingAndUnknownValuesComeFromTheFieldTable) {
  SmallRegistry small;
  small.ChangeControl(
      "UPDATE Fields SET UnknownValues = '9', PromptingValue = 'ask'"
      " WHERE FieldName = 'LastName'");
  const auto layout = small.data_sets.GetNAACCRLayout();
  EXPECT_EQ(layout->FieldPromptingValue(4), "ask");
  EXPECT_EQ(layout->UnknownValues(4), Variant("9"));
  EXPECT_EQ(layout->UnknownValues(5), Variant(""));
  layout->SetUnknownValues(5, std::int32_t{99});
  EXPECT_EQ(layout->UnknownValues(5), Variant("99"));
  EXPECT_EQ(Raises([&] { layout->SetUnknownValues(5, Variant::Null()); }).number,
            kErrInvalidUseOfNull);
  for (const std::int16_t index : {-1, 10}) {
    EXPECT_EQ(Raises([&] { layout->UnknownValues(index); }).number, kErrSubscript);
    EXPECT_EQ(Raises([&] { layout->FieldPromptingValue(index); }).number, kErrSubscript);
    EXPECT_EQ(Raises([&] { layout->SetFieldCriticalFlag(index, 1); }).number, kErrSubscript);
  }
  EXPECT_EQ(Raises([&] { layout->ValidateKey(1); }).number, kErrSubscript);
}

}  // namespace
}  // namespace qm::test
