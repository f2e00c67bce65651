// The lower parts of the import: alphabets, digest, lines.
#include <gtest/gtest.h>

#include <random>

#include "datasets/import_digest.h"
#include "datasets/import_lines.h"
#include "datasets/import_source.h"
#include "datasets/import_text.h"
#include "runtime/text.h"
#include "support/temp_folder.h"

namespace qm {
namespace {

TEST(Utf8Check, AgreesWithTheWholeTextWhereverItIsCut) {
  const std::string pieces[] = {"a",
                                "\xC3\xA9",
                                "\xE2\x82\xAC",
                                "\xF0\x9F\x98\x80",
                                "\xC3",
                                "\xA9",
                                "\xE2\x82",
                                "\xF0\x9F\x98",
                                "\xC0\x80",
                                "\xED\xA0\x80",
                                "\xF5\x80",
                                "\xE0\x80\x80",
                                "MU",
                                "\xF4\x90\x80\x80",
                                "\xFF",
                                "\x80\x80\x80\x80"};
  std::mt19937 random(1);
  int valid = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    // Mostly sound pieces, so that both outcomes are met often.
    for (int n = 0; n < 6; ++n) text += pieces[random() % 8 == 0 ? random() % 16 : random() % 4];
    const std::size_t a = random() % (text.size() + 1);
    const std::size_t b = a + random() % (text.size() - a + 1);
    Utf8Check check;
    check.Update(std::string_view(text).substr(0, a));
    check.Update(std::string_view(text).substr(a, b - a));
    check.Update(std::string_view(text).substr(b));
    ASSERT_EQ(check.Complete(), IsValidUtf8(text)) << round;
    valid += check.Complete() ? 1 : 0;
  }
  EXPECT_GT(valid, 500);
  EXPECT_LT(valid, 2500);
}

TEST(Windows1252, DecodesAllBytesButFive) {
  EXPECT_EQ(DecodeWindows1252("MU\xD1OZ \x80\x92\xFF"), "MUÑOZ €’ÿ");
  int open = 0;
  for (int byte = 1; byte < 256; ++byte) {
    const auto text = DecodeWindows1252(std::string(1, static_cast<char>(byte)));
    if (text) {
      EXPECT_EQ(CharacterCount(*text), 1U);
    } else {
      ++open;
    }
  }
  EXPECT_EQ(open, 5);
}

TEST(Digest, GivesThePublishedValues) {
  const auto digest_of = [](const std::string& text, std::size_t piece) {
    Digest digest;
    for (std::size_t i = 0; i < text.size(); i += piece) digest.Update(text.substr(i, piece));
    return digest.Finish();
  };
  EXPECT_EQ(digest_of("", 1), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(digest_of("abc", 3),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(digest_of("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", 5),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(digest_of(std::string(1000000, 'a'), 4096),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(LineReader, GivesEveryByteOnceAndGoesOnAnywhere) {
  const std::string huge(kMaxLineBytes + 300000, 'h');
  const std::string limit(kMaxLineBytes, 'l');
  // Line, its end, how much of it is kept.
  const std::vector<std::pair<std::string, std::string>> lines = {
      {"one", "\n"}, {"two\rhalf", "\r\n"}, {"", "\n"}, {"", "\r\n"},
      {huge, "\n"},  {limit, "\r\n"},       {huge, ""}};
  std::string text;
  for (const auto& [bytes, end] : lines) text += bytes + end;
  const test::TempFolder folder;
  TextSource source(folder.Write("lines", text));

  LineReader reader(source);
  std::vector<std::int64_t> offsets = {0};
  RawLine line;
  for (std::size_t from = 0; from < lines.size(); ++from) {
    if (from > 0) reader.SeekTo(offsets[from], static_cast<std::int64_t>(from));
    for (std::size_t i = from; i < lines.size(); ++i) {
      ASSERT_TRUE(reader.Next(line));
      EXPECT_EQ(line.number, static_cast<std::int64_t>(i + 1));
      const auto& [bytes, end] = lines[i];
      EXPECT_EQ(line.overlong, bytes.size() >= kMaxLineBytes && bytes[0] == 'h');
      std::string all(line.bytes);
      all += line.end;
      reader.Rest([&all](std::string_view rest) { all += rest; });
      EXPECT_TRUE(all == bytes + end) << i;
      if (from == 0) offsets.push_back(reader.Offset());
    }
    EXPECT_FALSE(reader.Next(line));
    EXPECT_EQ(reader.Offset(), static_cast<std::int64_t>(text.size()));
  }
  // An overlong line that nobody wants is passed over.
  reader.SeekTo(offsets[4], 4);
  ASSERT_TRUE(reader.Next(line));
  ASSERT_TRUE(reader.Next(line));
  EXPECT_EQ(line.bytes.size(), limit.size());
}

}  // namespace
}  // namespace qm
