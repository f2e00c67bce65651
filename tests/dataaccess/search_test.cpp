// Finding rows by criteria, bookmarks, and the indexes of a table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include <qm/error.h>
#include <qm/recordset.h>

#include "support/raises.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

using ::testing::ElementsAre;

struct SearchCursor {
  const char* name;
  std::int32_t type;
  std::int32_t location;
  std::int32_t options;
};
constexpr SearchCursor kSearched[] = {
    {"static", kOpenStatic, kUseServer, kCommandText},
    {"keyset", kOpenKeyset, kUseServer, kCommandText},
    {"client", kOpenDynamic, kUseClient, kCommandText},
    {"direct", kOpenDynamic, kUseServer, kCommandTableDirect},
};
constexpr SearchCursor kForward = {"forward", kOpenForwardOnly, kUseServer, kCommandText};
constexpr SearchCursor kDirect = kSearched[3];

class SearchTest : public ::testing::Test {
 protected:
  std::shared_ptr<Recordset> Open(const SearchCursor& cursor, const std::string& table = "t",
                                  const char* index = "") {
    auto rows = connection_->CreateRecordset();
    rows->SetCursorLocation(cursor.location);
    rows->SetIndex(index);
    rows->Open(cursor.options == kCommandText ? "SELECT * FROM " + table : table, connection_,
               cursor.type, kLockOptimistic, cursor.options);
    return rows;
  }
  /// The first column of the current row; 0 at the end, -1 before the first row.
  static int Id(const Recordset& rows) {
    if (rows.Eof()) return 0;
    return rows.Bof() ? -1 : rows.Value(0).Get<std::int32_t>();
  }
  static std::vector<int> Rest(Recordset& rows) {
    std::vector<int> ids;
    for (const Recordset& row : rows.Rows()) ids.push_back(Id(row));
    return ids;
  }

  TempFolder folder_;
  std::string path_ = MakeDatabase(
      folder_.File("a.db"),
      "CREATE TABLE t (id INTEGER PRIMARY KEY, [last name] TEXT, day TEXT, score);"
      "INSERT INTO t VALUES (1, 'Smith', '2020-01-02', 5), (2, 'O''Brien', NULL, '5.0'),"
      " (3, 'smithson', '2020-01-02 18:00:00', 'none'), (4, 'Mu\xC3\xB1oz', '1/3/2020', 7.5),"
      " (5, NULL, 'unknown', 3000000000), (6, 'SMITH', '1899-12-29', -1);"
      "CREATE TABLE k (id INTEGER, a TEXT COLLATE NOCASE, b INTEGER, c);"
      "CREATE INDEX ByAB ON k (a, b DESC); CREATE UNIQUE INDEX [by c] ON k (c);"
      "CREATE INDEX half ON k (a) WHERE b > 1; CREATE INDEX computed ON k (b + 1);"
      "INSERT INTO k VALUES (1, 'b', 2, 9), (2, 'B', 3, 8), (3, NULL, NULL, 7), (4, 'a', NULL, 6),"
      " (5, 'a', 1, 5), (6, NULL, 4, NULL), (7, 'b', 2, 'x'), (8, 'c', 1, x'00')");
  std::shared_ptr<Connection> connection_ = OpenSqlite(path_);
};

TEST_F(SearchTest, FindMeetsOneCondition) {
  const struct {
    const char* criteria;
    std::vector<int> found;
  } cases[] = {
      {"id = 3", {3}},
      {"ID='3'", {3}},
      {" [id] <> 3 ", {1, 2, 4, 5, 6}},
      {"id<=2", {1, 2}},
      {"id > 4.5", {5, 6}},
      {"score = 5", {1, 2}},
      {"score >= 3e9", {5}},
      {"score < -.5", {6}},
      {"score = 'none'", {3}},
      {"score <> 5", {3, 4, 5, 6}},
      {"[last name] = 'smith'", {1, 6}},
      {"[last name] = 'o''brien'", {2}},
      {"[last name] > 'P'", {1, 3, 6}},
      {"[Last Name] <> 'smith'", {2, 3, 4}},
      {"[last name] = NULL", {5}},
      {"day <> null", {1, 3, 4, 5, 6}},
      {"[last name] like 'SMITH*'", {1, 3, 6}},
      {"[last name] LIKE '%it%s_n'", {3}},
      {"[last name] LIKE 'mu_oz'", {4}},
      {"[last name] LIKE 'MU\xC3\x91*'", {4}},
      {"[last name] LIKE '_'", {}},
      {"[last name] LIKE '*'", {1, 2, 3, 4, 6}},
      {"id LIKE '_'", {1, 2, 3, 4, 5, 6}},
      {"day = #1/2/2020#", {1}},
      {"day > #2020-01-02#", {3, 4}},
      {"day < #1900-01-01#", {6}},
      {"day <> #1/2/2020#", {3, 4, 5, 6}},
      {"id = 'AND'", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.criteria);
    for (const SearchCursor& cursor : kSearched) {
      auto rows = Open(cursor);
      std::vector<int> found;
      for (rows->Find(c.criteria); !rows->Eof(); rows->Find(c.criteria, 1)) {
        found.push_back(Id(*rows));
      }
      EXPECT_EQ(found, c.found) << cursor.name;
      EXPECT_FALSE(rows->Bof());
      found.clear();
      rows->Find(c.criteria, 0, kSearchBackward, kBookmarkLast);
      for (; !rows->Bof(); rows->Find(c.criteria, 1, kSearchBackward)) found.push_back(Id(*rows));
      std::reverse(found.begin(), found.end());
      EXPECT_EQ(found, c.found) << cursor.name;
      EXPECT_FALSE(rows->Eof());
    }
    auto stream = Open(kForward);
    stream->Find(c.criteria);
    EXPECT_EQ(Id(*stream), c.found.empty() ? 0 : c.found.front());
  }
}

TEST_F(SearchTest, FindRefusesAndStaysWhereItIs) {
  const struct {
    const char* criteria;
    std::int32_t number;
  } cases[] = {
      {"", kErrBadArgument},
      {"id", kErrBadArgument},
      {"id =", kErrBadArgument},
      {"id = 1 AND id = 2", kErrBadArgument},
      {"id = 1 2", kErrBadArgument},
      {"id == 1", kErrBadArgument},
      {"id = 1x", kErrBadArgument},
      {"id = x", kErrBadArgument},
      {"id = 'open", kErrBadArgument},
      {"[id = 1", kErrBadArgument},
      {"id > Null", kErrBadArgument},
      {"id LIKE 1", kErrBadArgument},
      {"id IN (1)", kErrBadArgument},
      {"day = #13/45/2020#", kErrBadArgument},
      {"day = #1/2/2020", kErrBadArgument},
      {"nothing = 1", kErrNoSuchItem},
  };
  auto rows = Open(kDirect);
  rows->MoveNext();
  for (const auto& c : cases) {
    EXPECT_EQ(Raises([&] { rows->Find(c.criteria); }).number, c.number) << c.criteria;
    EXPECT_EQ(Id(*rows), 2);
  }
  EXPECT_EQ(Raises([&] { rows->Find("id = 1", -1); }).number, kErrBadArgument);
  EXPECT_EQ(Raises([&] { rows->Find("id = 1", 0, 0); }).number, kErrBadArgument);
  EXPECT_EQ(Raises([&] { rows->Find("id = 1", 0, 1, "x"); }).number, kErrBadArgument);
  rows->Find("id = 1");
  EXPECT_TRUE(rows->Eof()) << "the search does not wrap";
  EXPECT_EQ(Raises([&] { rows->Find("id = 1"); }).number, kErrNoCurrentRecord);
  rows->Find("id > 0", 2, kSearchForward, std::int16_t{kBookmarkFirst});
  EXPECT_EQ(Id(*rows), 3);
  rows->Find("id = 4", 2);
  EXPECT_TRUE(rows->Eof());
  auto stream = Open(kForward);
  EXPECT_EQ(Raises([&] { stream->Find("id = 1", 0, kSearchBackward); }).number, kErrNotAllowedHere);
  EXPECT_EQ(Id(*stream), 1);
}

TEST_F(SearchTest, BookmarksOutliveMovesAndEditsButNotTheirRecordset) {
  for (const SearchCursor& cursor : kSearched) {
    SCOPED_TRACE(cursor.name);
    auto rows = Open(cursor);
    auto other = Open(cursor);
    rows->MoveNext();
    const Variant second = rows->Bookmark();
    rows->MoveLast();
    rows->SetValue("score", cursor.name);
    rows->SetBookmark(second);  // saves
    EXPECT_EQ(Id(*rows), 2);
    EXPECT_EQ(QueryText(path_, "SELECT score FROM t WHERE id = 6"), cursor.name);
    rows->SetValue("day", "new");
    rows->Update();
    rows->MoveNext();
    EXPECT_EQ(Id(*rows), 3);
    rows->Find("id < 3", 0, kSearchBackward, second);
    EXPECT_EQ(Id(*rows), 2);
    EXPECT_EQ(rows->Value("day"), Variant("new"));
    rows->AddNew();
    EXPECT_EQ(Raises([&] { rows->Bookmark(); }).number, kErrNoCurrentRecord);
    rows->SetValue("id", 9);
    rows->Update();
    const Variant added = rows->Bookmark();
    rows->MoveFirst();
    rows->SetBookmark(added);
    EXPECT_EQ(Id(*rows), 9);
    rows->MoveNext();
    EXPECT_EQ(Raises([&] { rows->Bookmark(); }).number, kErrNoCurrentRecord);
    rows->SetBookmark(second);

    SqliteFile(path_).Exec("DELETE FROM t WHERE id = 9; UPDATE t SET day = NULL WHERE id = 2");
    if (cursor.type == kOpenStatic || cursor.location == kUseClient) {
      rows->SetBookmark(added);
      EXPECT_EQ(Id(*rows), 9) << "a snapshot";
    } else {
      EXPECT_EQ(Raises([&] { rows->SetBookmark(added); }).number, kErrRowDeleted);
      EXPECT_EQ(Id(*rows), 2) << "nothing moved";
      rows->MoveNext();
      EXPECT_EQ(Id(*rows), 3);
    }
    for (const Variant& wrong : {other->Bookmark(), Variant(), Variant(2), Variant("2"),
                                 Variant(Variant::Array{}), Variant(Variant::Array{2, 2})}) {
      EXPECT_EQ(Raises([&] { rows->SetBookmark(wrong); }).number, kErrBadArgument);
    }
    rows->Requery();
    EXPECT_EQ(Raises([&] { rows->SetBookmark(second); }).number, kErrBadArgument);
  }
  auto stream = Open(kForward);
  EXPECT_EQ(Raises([&] { stream->Bookmark(); }).number, kErrNotSupported);
  EXPECT_EQ(Raises([&] { stream->SetBookmark(1); }).number, kErrNotSupported);
}

TEST_F(SearchTest, SupportsSaysWhatAnOpenRecordsetCanDo) {
  constexpr std::int32_t kOptions[] = {
      kSupportsFind, kSupportsMovePrevious, kSupportsBookmark, kSupportsIndex,
      kSupportsSeek, kSupportsAddNew,       kSupportsUpdate,   16384};
  const auto supported = [&](const Recordset& rows) {
    std::string text;
    for (const std::int32_t option : kOptions) text += rows.Supports(option) ? '1' : '0';
    return text;
  };
  EXPECT_EQ(supported(*Open(kForward)), "10000110");
  EXPECT_EQ(supported(*Open(kSearched[0])), "11100110");
  EXPECT_EQ(supported(*Open(kDirect)), "11111110");
  EXPECT_EQ(supported(*connection_->Execute("SELECT DISTINCT id FROM t")), "10000000");
  EXPECT_EQ(Raises([&] { connection_->CreateRecordset()->Supports(512); }).number,
            kErrObjectClosed);
  for (const SearchCursor& cursor : {kForward, kSearched[0], kSearched[1]}) {
    auto rows = Open(cursor, "t", "no such index");
    EXPECT_EQ(Raises([&] { rows->SetIndex("PrimaryKey"); }).number, kErrNotSupported);
    EXPECT_EQ(Raises([&] { rows->Seek(1); }).number, kErrNotSupported);
  }
}

TEST_F(SearchTest, RowsComeInTheOrderOfTheIndex) {
  auto rows = Open(kDirect, "k", "byab");
  EXPECT_THAT(Rest(*rows), ElementsAre(6, 3, 5, 4, 2, 1, 7, 8));
  rows->SetIndex("");
  rows->MoveFirst();
  rows->MoveNext();
  rows->SetIndex("BYAB");
  EXPECT_EQ(Id(*rows), 2) << "the current row stays";
  EXPECT_THAT(Rest(*rows), ElementsAre(2, 1, 7, 8));
  EXPECT_EQ(rows->RecordCount(), 8);

  // A row that an edit moves within the index, and one that is new to it.
  rows->Seek(Variant(Variant::Array{"A", 1}));
  rows->SetValue("a", "bb");
  rows->MoveNext();
  EXPECT_EQ(Id(*rows), 8);
  rows->AddNew();
  rows->SetValue("id", 9);
  rows->SetValue("a", "B");
  rows->SetValue("b", 2);
  rows->Update();
  rows->MovePrevious();
  EXPECT_THAT(Rest(*rows), ElementsAre(7, 9, 5, 8));

  for (const char* unknown : {"none", "half", "computed", "PrimaryKey"}) {
    EXPECT_EQ(Raises([&] { rows->SetIndex(unknown); }).number, kErrNoSuchItem) << unknown;
    EXPECT_EQ(rows->Index(), "BYAB");
    EXPECT_EQ(Raises([&] { Open(kDirect, "k", unknown); }).number, kErrNoSuchItem) << unknown;
  }
  EXPECT_EQ(Raises([&] { Rest(*Open(kDirect, "k", "by c")); }).number, kErrNotSupported)
      << "bytes cannot be told from text";
}

TEST_F(SearchTest, SeekGoesToTheKey) {
  const auto pair = [](const Variant& a, const Variant& b) {
    return Variant(Variant::Array{a, b});
  };
  const struct {
    Variant key;
    std::vector<int> found;  // first, last, after equal, after, before equal, before
  } cases[] = {
      {"B", {2, 7, 2, 8, 7, 4}},
      {pair("b", 2), {1, 7, 1, 8, 7, 2}},
      {pair("b", "2"), {1, 7, 1, 8, 7, 2}},
      {pair("a", 9), {0, 0, 5, 5, 3, 3}},
      {pair("a", Variant::Null()), {4, 4, 4, 2, 4, 5}},
      {Variant::Null(), {6, 3, 6, 5, 3, 0}},
      {"bb", {0, 0, 8, 8, 7, 7}},
      {"d", {0, 0, 0, 0, 8, 8}},
      {Variant(Variant::Array{"c"}), {8, 8, 8, 0, 8, 7}},
  };
  constexpr std::int32_t kOptions[] = {kSeekFirstEqual, kSeekLastEqual,   kSeekAfterEqual,
                                       kSeekAfter,      kSeekBeforeEqual, kSeekBefore};
  auto rows = Open(kDirect, "k", "ByAB");
  const std::vector<int> order = Rest(*rows);
  const auto behind = [&](int id) {
    const auto at = std::find(order.begin(), order.end(), id);
    return at + 1 == order.end() ? 0 : at[1];
  };
  for (std::size_t at = 0; at < std::size(cases); ++at) {
    for (std::size_t i = 0; i < std::size(kOptions); ++i) {
      SCOPED_TRACE(std::to_string(at) + " by " + std::to_string(kOptions[i]));
      const std::int64_t before = connection_->StatementCount();
      rows->Seek(cases[at].key, kOptions[i]);
      EXPECT_EQ(Id(*rows), cases[at].found[i]);
      EXPECT_LE(connection_->StatementCount(), before + 1);
      if (rows->Eof()) continue;
      rows->MoveNext();
      EXPECT_EQ(Id(*rows), behind(cases[at].found[i])) << "moves go on from there";
    }
  }
  EXPECT_EQ(Raises([&] { rows->Seek("a", 3); }).number, kErrBadArgument);
  EXPECT_EQ(Raises([&] { rows->Seek(Variant(Variant::Array{})); }).number, kErrBadArgument);
  EXPECT_EQ(Raises([&] { rows->Seek(Variant(Variant::Array{1, 2, 3})); }).number, kErrBadArgument);
  EXPECT_EQ(Raises([&] { rows->Seek(Variant::Nothing()); }).number, kErrWrongType);
  rows->SetIndex("");
  EXPECT_EQ(Raises([&] { rows->Seek(1); }).number, kErrNotAllowedHere);
}

TEST_F(SearchTest, PrimaryKeyIsTheTablesOwnKey) {
  connection_->Execute("CREATE TABLE p (id INT, k TEXT, PRIMARY KEY (k DESC, id)) WITHOUT ROWID");
  connection_->Execute("INSERT INTO p VALUES (1, 'a'), (2, 'a'), (3, 'b')");
  connection_->Execute("CREATE TABLE s (id INT, k TEXT PRIMARY KEY)");
  connection_->Execute("INSERT INTO s VALUES (1, 'z'), (2, NULL), (3, 'y')");
  auto rows = Open(kDirect, "p", "PrimaryKey");
  EXPECT_THAT(Rest(*rows), ElementsAre(3, 1, 2));
  rows->Seek("a", kSeekLastEqual);
  EXPECT_EQ(Id(*rows), 2);
  EXPECT_THAT(Rest(*Open(kDirect, "s", "primarykey")), ElementsAre(2, 3, 1));
  rows = Open(kDirect, "t", "PrimaryKey");
  rows->Seek(4);
  rows->SetValue("score", 1);
  rows->Seek("5");
  EXPECT_EQ(Id(*rows), 5);
  EXPECT_EQ(QueryText(path_, "SELECT score FROM t WHERE id = 4"), "1") << "saved before";
  EXPECT_EQ(Raises([&] { rows->Seek(Variant(Variant::Array{1, 2})); }).number, kErrBadArgument);
}

// Walking a table of several pages in the order of an index is walking the sorted rows.
TEST_F(SearchTest, PagesOfAnIndexNeitherRepeatNorHideARow) {
  std::mt19937 random(7);
  connection_->Execute("CREATE TABLE r (id INTEGER PRIMARY KEY, a TEXT, b INT)");
  connection_->Execute("CREATE INDEX up ON r (a, b)");
  connection_->Execute("CREATE INDEX down ON r (a DESC, b)");
  connection_->BeginTrans();
  for (int i = 1; i <= 700; ++i) {
    const auto value = [&] { return random() % 5 == 0 ? "NULL" : std::to_string(random() % 6); };
    connection_->Execute("INSERT INTO r VALUES (" + std::to_string(i) + ", " + value() + ", " +
                         value() + ")");
  }
  connection_->CommitTrans();
  for (const auto& [index, order] :
       {std::pair("up", "a, b, id"), std::pair("down", "a DESC, b, id")}) {
    SCOPED_TRACE(index);
    std::vector<int> expected;
    auto sorted = connection_->Execute("SELECT id FROM r ORDER BY " + std::string(order));
    for (const Recordset& row : sorted->Rows()) expected.push_back(Id(row));
    const std::int64_t before = connection_->StatementCount();
    auto rows = Open(kDirect, "r", index);
    EXPECT_EQ(Rest(*rows), expected);
    EXPECT_LE(connection_->StatementCount(), before + 2 + 8) << "one statement a page";
    std::vector<int> walked;
    for (rows->MoveLast(); !rows->Bof(); rows->MovePrevious()) walked.push_back(Id(*rows));
    std::reverse(walked.begin(), walked.end());
    EXPECT_EQ(walked, expected);
  }
}

}  // namespace
}  // namespace qm::test
