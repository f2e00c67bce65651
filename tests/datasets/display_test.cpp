#include <gtest/gtest.h>

#include <iterator>
#include <ranges>

#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

static_assert(std::forward_iterator<Display::const_iterator>);
static_assert(std::ranges::forward_range<const Display>);
static_assert(std::ranges::sized_range<const Display> && std::ranges::common_range<const Display>);
static_assert(std::same_as<std::ranges::range_reference_t<const Display>, const DisplayField&>);

constexpr const char* kDisplays =
    "CREATE TABLE Display (DisplayID INTEGER, Name TEXT);"
    "CREATE TABLE displayfields (displayid INTEGER, NAACCR_Item_no INTEGER, [Default] TEXT,"
    " Protected INTEGER, FieldSequence INTEGER, Invisible INTEGER);"
    "INSERT INTO Display VALUES (3, 'Review'), (4, NULL);"
    "INSERT INTO displayfields VALUES (3, 240, '', 0, 20, -1), (3, 2230, 'X', 1, 10, 0),"
    " (5, 500, '', 0, 1, 0), (6, NULL, '', 0, 1, 0), (7, 500, NULL, 0, 1, 0),"
    " (8, 500, '', NULL, 1, 0), (9, 500, '', 0, NULL, 0), (10, 500, '', 0, 1, NULL),"
    " (11, 500, '', 0, 40000, 0)";

std::string Text(const Display& display) {
  std::string text = std::to_string(display.DisplayID()) + " " + display.Name() + ":";
  for (const DisplayField& field : display) {
    text += " " + std::to_string(field.Sequence()) + "=" + field.FieldNumber() +
            (field.Invisible() ? "i" : "") + (field.Protected() ? "p" : "") + field.Default();
  }
  return text;
}

TEST(Display, LoadsInSequenceByTheStatementsAsTheyAreSpelt) {
  SmallRegistry small;
  small.ChangeRegistry(kDisplays);
  std::vector<std::string> statements;
  small.connection.Registry()->SetStatementObserver(
      [&](std::string_view text) { statements.emplace_back(text); });
  EXPECT_EQ(Text(small.data_sets.LoadDisplay(3)), "3 Review: 10=2230pX 20=240i");
  const std::vector<std::string> expected = {
      "SELECT * FROM Display WHERE DisplayID = 3",
      "SELECT * FROM displayfields WHERE displayid = 3 OERDER BY FieldSequence"};
  EXPECT_EQ(statements, expected);
  EXPECT_EQ(Text(small.data_sets.LoadDisplay(5)), "0 : 1=500");
  EXPECT_EQ(Text(small.data_sets.LoadDisplay(-1)), "0 :");
  for (const std::int16_t id : {4, 6, 7, 8, 9, 10}) {
    EXPECT_EQ(Raises([&] { small.data_sets.LoadDisplay(id); }).number, kErrInvalidUseOfNull) << id;
  }
  EXPECT_EQ(Raises([&] { small.data_sets.LoadDisplay(11); }).number, kErrOverflow);
  const std::string before = small.Registry("SELECT count(*) FROM displayfields");
  EXPECT_EQ(small.data_sets.SaveDisplay(Display()), 0);
  EXPECT_EQ(small.Registry("SELECT count(*) FROM displayfields"), before);
  small.ChangeRegistry("ALTER TABLE displayfields DROP COLUMN Invisible");
  EXPECT_EQ(Raises([&] { small.data_sets.LoadDisplay(3); }).number, kErrNoSuchItem);
}

TEST(Display, IsAKeyedCollectionCountedFromOne) {
  Display display;
  const auto field = [](const char* number) {
    DisplayField made;
    made.SetFieldNumber(number);
    return made;
  };
  display.Add(field("1"), "First");
  display.Add(field("2"));
  display.Add(field("3"), "third");
  EXPECT_EQ(Raises([&] { display.Add(field("4"), "FIRST"); }).number, kErrKeyInUse);
  display.Remove(1);
  display.Add(field("4"), "FIRST");
  display.SetItem(2, field("5"));
  EXPECT_EQ(Text(display), "0 : 0=2 0=5 0=4");
  EXPECT_EQ(display.Count(), 3);
  EXPECT_EQ(Raises([&] { display.Add(field("6"), "Third"); }).number, kErrKeyInUse);
  EXPECT_EQ(Raises([&] { display.Item(1); }).number, kErrTypeMismatch);
  for (const std::int16_t index : {-1, 0, 4}) {
    EXPECT_EQ(Raises([&] { display.Item(index); }).number, kErrSubscript);
    EXPECT_EQ(Raises([&] { display.Remove(index); }).number, kErrSubscript);
    EXPECT_EQ(Raises([&] { display.SetItem(index, field("7")); }).number, kErrSubscript);
  }
}

}  // namespace
}  // namespace qm::test
