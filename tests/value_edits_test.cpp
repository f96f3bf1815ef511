#include "hive/value_edits.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "hive/value_input.h"
#include "reports/hive_lists.h"
#include "tests/support/opened_hive.h"

namespace hivequarry {
namespace {

using namespace testing;
using namespace std::string_literals;
using namespace std::string_view_literals;

BuiltHive SmallHive() {
  HiveBuilder builder;
  builder.Key("K").Sz("text", "old").Dword("number", 7).Binary("big", 40000);
  BuiltHive built = builder.Build();
  built.Free(built.DataPosition("K", "text"));  // what can't be read can still be edited
  return built;
}

class ValueEditTest : public ::testing::Test {
 protected:
  const BuiltHive built = SmallHive();
  OpenedHive opened{built};
  HiveImage& hive = opened.hive;
  const uint32_t key = built.PositionOf("K");
  const uint32_t text = built.ValuePosition("K", "text");
  const uint32_t number = built.ValuePosition("K", "number");
};

TEST_F(ValueEditTest, SeenWhereverValuesAreShown) {
  EXPECT_TRUE(SetValueEdit(hive, number, kRegSz, Utf16Z("new"), key));
  EXPECT_TRUE(SetValueEdit(hive, text, kRegDword, {9, 0, 0, 0}));
  EXPECT_TRUE(SetValueEdit(hive, built.ValuePosition("K", "big"), kRegNone, {}, key));
  EXPECT_EQ(opened.Values("K"),
            (std::vector<std::string>{"text=0x00000009 (9)", "number=new", "big=(zero length)"}));
  const OutputListPtr list = ListKeyValues(hive, opened.tree, opened.Item("K"), {true});
  EXPECT_EQ(FactsOfRow(*list, 1).bytes, "6e00650077000000");
  EXPECT_EQ(RowIcon(*list, 1), static_cast<int>(ValueIcon::kString) + kEditedIconStep);
  EXPECT_TRUE(
      ShownValueDetail(hive, number)
          .text.starts_with(
              "Edited in memory; the file has REG_DWORD, 4 bytes: 0x00000007 (7)\r\nType 1, "));
  EXPECT_NE(KeyDetailAt(hive, opened.tree, key).find("memory: 2\r\n"), std::string::npos);
  EXPECT_EQ(ReadValueKey(hive, number, ValueRead::kName, 7, nullptr).status, ValueStatus::kTooLong);
  EXPECT_TRUE(std::equal(built.bytes.begin(), built.bytes.end(), hive.buffer.get()));
}

TEST_F(ValueEditTest, TakenBack) {
  const std::vector<std::string> original = opened.Values("K");
  EXPECT_TRUE(SetValueEdit(hive, number, kRegDword, {8, 0, 0, 0}, key));
  EXPECT_TRUE(SetValueEdit(hive, number, kRegDword, {9, 0, 0, 0}, key));  // replaces, counts once
  EXPECT_TRUE(SetValueEdit(hive, text, kRegSz, Utf16Z("x")));
  EXPECT_EQ(EditsOfKey(hive, key), 1u);
  ASSERT_EQ(ListEdits(hive).size(), 2u);
  EXPECT_LT(ListEdits(hive)[0]->position, ListEdits(hive)[1]->position);
  const ValueEditPtr held = EditOf(hive, number);
  EXPECT_TRUE(SetValueEdit(hive, number, kRegDword, {7, 0, 0, 0}, key));  // as the file has it
  EXPECT_EQ(held->data[0], 9);
  EXPECT_EQ(EditsOfKey(hive, key), 0U);
  EXPECT_TRUE(TakeBackEdit(hive, text));
  EXPECT_FALSE(TakeBackEdit(hive, text));
  EXPECT_TRUE(SetValueEdit(hive, text, kRegSz, {}, key));
  TakeBackAllEdits(hive);
  EXPECT_EQ(EditsOfKey(hive, key), 0u);
  EXPECT_EQ(opened.Values("K"), original);
}

TEST_F(ValueEditTest, RefusedWhereThereIsNoValue) {
  for (const uint32_t position :
       {0u, key, text + 1, hive.length - 1, hive.length, 0xFFFFFFF8u, kNoOffset}) {
    EXPECT_FALSE(SetValueEdit(hive, position, kRegSz, {})) << position;
  }
  EXPECT_FALSE(SetValueEdit(hive, text, kRegBinary, Bytes(kMaxValueData)));
  EXPECT_TRUE(SetValueEdit(hive, text, kRegBinary, Bytes(kMaxValueData - 1)));
}

// A reader meets the stored value or one whole edit, never a mixture.
TEST_F(ValueEditTest, ReadWhileEdited) {
  std::atomic<uint32_t> reads{0};
  std::atomic<uint32_t> mixed{0};
  std::thread reader([&] {
    Bytes data;
    for (; reads < 5000; ++reads) {
      const ValueKey value = ReadValueKey(hive, number, ValueRead::kData, kMaxValueData, &data);
      mixed += data != (value.edited ? Bytes(value.type, uint8_t{1}) : Bytes{7, 0, 0, 0});
    }
  });
  for (uint32_t i = 0; reads < 5000; ++i) {
    SetValueEdit(hive, number, 20 + i % 50, Bytes(20 + i % 50, 1));
    if (i % 3 == 0) TakeBackEdit(hive, number);
  }
  reader.join();
  EXPECT_EQ(mixed, 0u);
}

TEST(ValueInput, TextAndBack) {
  const struct {
    uint32_t type;
    std::u16string text;
    Bytes data;
    bool exact;  // false: data that the form can't say
  } cases[] = {{kRegSz, u"", {0, 0}, true},
               {kRegSz, u"", {}, false},
               {kRegSz, u"open", Utf16("open"), false},
               {kRegSz, u"a", Utf16Z("a\0b"sv), false},
               {kRegSz, u"a", {'a', 0, 0}, false},
               {kRegExpandSz, u"a\u20AC\r\n", Utf16Z("a\xE2\x82\xAC\r\n"), true},
               {kRegMultiSz, u"", {0, 0}, true},
               {kRegMultiSz, u"one\r\ntwo", Utf16Z("one\0two\0"sv), true},
               {kRegMultiSz, u"a", Utf16Z("a"), false},
               {kRegMultiSz, u"a\nb", Utf16Z("a\nb\0"sv), false},
               {kRegDword, u"0x0000ff10", {0x10, 0xFF, 0, 0}, true},
               {kRegDword, u"", {1, 2}, false},
               {kRegDwordBigEndian, u"0x0000ff10", {0, 0, 0xFF, 0x10}, true},
               {kRegQword, u"0xffffffffffffffff", Bytes(8, 0xFF), true},
               {kRegLink, u"0a ff 10", {0x0A, 0xFF, 0x10}, true}};
  for (const auto& c : cases) {
    EXPECT_EQ(InputOfData(c.type, c.data).text, c.text) << c.type;
    EXPECT_EQ(InputOfData(c.type, c.data).exact, c.exact) << c.type;
    InputError error;
    EXPECT_EQ(DataOfInput(c.type, c.text, error) == c.data, c.exact) << c.type;
  }
  EXPECT_EQ(InputOfData(kRegDword, Bytes(4, 0xFF), true).text, u"4294967295");
  EXPECT_EQ(InputOfBytes(Bytes(17)).substr(45), u"00\r\n00");
  InputError error;
  EXPECT_EQ(DataOfInput(kRegDword, u" 4294967295\r\n", error), Bytes(4, 0xFF));
  EXPECT_EQ(DataOfInput(kRegQword, u"0XaB", error), (Bytes{0xAB, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(DataOfInput(kRegMultiSz, u"a\nb\n", error), Utf16Z("a\0b\0"sv));
  EXPECT_EQ(BytesOfInput(u"0AFF,10;\t7\r\n", error), (Bytes{0x0A, 0xFF, 0x10, 7}));
}

TEST(ValueInput, Errors) {
  const struct {
    uint32_t type;
    std::u16string text;
    size_t position;
    const char* word;
  } cases[] = {{kRegSz, u"ab\0c"s, 2, "zero character"},
               {kRegSz, std::u16string(kMaxValueData / 2, u'x'), kMaxValueData / 2 - 2, "too long"},
               {kRegMultiSz, u"a\r\n\r\nb", 3, "empty line"},
               {kRegDword, u" 0x", 3, "no number"},
               {kRegDword, u"12a", 2, "no digit"},
               {kRegDword, u"4294967296", 9, "too large"},
               {kRegQword, u"18446744073709551616", 19, "too large"},
               {kRegBinary, u"0a fg", 4, "no digit"},
               {kRegBinary, u"0a abc", 5, "half a byte"},
               {kRegBinary, std::u16string(2 * kMaxValueData, u'0'), 0, "too long"}};
  for (const auto& c : cases) {
    InputError error;
    EXPECT_FALSE(DataOfInput(c.type, c.text, error)) << c.word;
    EXPECT_EQ(error.position, c.position) << c.word;
    EXPECT_STREQ(error.word, c.word);
  }
}

}  // namespace
}  // namespace hivequarry
