#include "words/value_text.h"

#include <gtest/gtest.h>

#include "hive/image.h"
#include "hive/opening.h"
#include "tests/support/hive_builder.h"
#include "tests/support/texts.h"

namespace hivequarry {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using testing::Bytes;
using testing::Utf16;
using testing::Utf16Z;

Bytes Raw(std::string_view text) { return Bytes(text.begin(), text.end()); }
Bytes Repeated(size_t count, std::string_view piece) {
  Bytes bytes;
  for (size_t i = 0; i < count; ++i) bytes.insert(bytes.end(), piece.begin(), piece.end());
  return bytes;
}

TEST(ValueText, TypeNames) {
  const struct {
    uint32_t type;
    const char* name;
  } cases[] = {{0, "REG_NONE"},
               {1, "REG_SZ"},
               {5, "REG_DWORD_BIG_ENDIAN"},
               {8, "REG_RESOURCE_LIST"},
               {10, "REG_RESOURCE_REQUIREMENTS_LIST"},
               {11, "REG_QWORD"},
               {12, "0xc"},
               {0x20, "0x20"},
               {0xFFFFFFFF, "0xffffffff"}};
  for (const auto& c : cases) EXPECT_EQ(TypeName(c.type), c.name);
}

TEST(ValueText, Previews) {
  const struct {
    const char* what;
    uint32_t type;
    Bytes data;
    bool wide;
    std::string preview;
  } cases[] = {
      {"no data", kRegBinary, {}, true, "(zero length)"},
      {"no data", kRegNone, {}, true, "(zero length)"},
      {"no number", kRegDword, {}, true, "(zero length)"},
      {"no text", kRegSz, {}, true, ""},
      {"sixteen bytes", kRegBinary, Repeated(16, "\x0A"), true,
       "0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A "},
      {"seventeen bytes", kRegBinary, Repeated(17, "\xAB"), true,
       "AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB ..."},
      {"number", kRegDword, Raw("\xFE\xFF\xFF\xFF"), true, "0xFFFFFFFE (4294967294)"},
      {"eight-byte number", kRegDword, Raw("\1\0\0\0\0\0\0\0"sv), true, "01 00 00 00 00 00 00 00 "},
      {"quad word", kRegQword, Raw("\2\0\0\0\0\0\0\0"sv), true, "02 00 00 00 00 00 00 00 "},
      {"unknown type", 0x1F4, Raw("ab"), true, "61 62 "},
      {"text", kRegSz, Utf16Z("C:\\Tools"), true, "C:\\Tools"},
      {"no terminator", kRegExpandSz, Utf16("%TEMP%"), true, "%TEMP%"},
      {"line ends", kRegSz, Utf16Z("a\r\n\tb"), true, "a   b"},
      {"inner zero ends it", kRegSz, Utf16Z("ab\0cd"sv), true, "ab"},
      {"code page", kRegSz, Utf16Z("\u20AC \u0416"), true, "\u20AC \u0416"},
      {"odd length", kRegSz, Raw("a\0b\0c"sv), true, "abc"},
      {"single byte", kRegSz, Raw("a"), true, "a"},
      {"narrow text", kRegSz, Raw("abc\0d"sv), false, "abc"},
      {"strings", kRegMultiSz, Utf16Z("a\0b\0"sv), true, "a b "},
      {"empty string inside", kRegMultiSz, Utf16Z("a\0\0b\0"sv), true, "a  b "},
      {"strings without an end", kRegMultiSz, Utf16("a\0b"sv), true, "a b"},
      {"multi-string", kRegMultiSz, Raw("\x80\0\xAC\x20"sv), true, "\u0080\u20AC"},
      {"link: raw bytes, counted in characters", kRegLink, Raw("\\\0R\0e\0"sv), true, "\\ R"},
      {"link, narrow", kRegLink, Raw("\\R"), false, "\\R"},
      {"big-endian number: last zero ends it", kRegDwordBigEndian, Raw("A\0\0\1"sv), true, "A"},
      {"250 characters", kRegSz, Repeated(250, "x\0"sv), true, std::string(250, 'x')},
      {"251 characters", kRegSz, Repeated(251, "x\0"sv), true, std::string(247, 'x') + "..."},
      {"251 strings", kRegMultiSz, Repeated(251, "x\0\0\0"sv), true,
       [] {
         std::string text;
         while (text.size() < 247) text += "x ";
         return text.substr(0, 247) + "...";
       }()},
  };
  for (const auto& c : cases) EXPECT_EQ(DataPreview(c.type, c.data, c.wide), c.preview) << c.what;
}

TEST(ValueText, StringData) {
  const struct {
    const char* what;
    uint32_t type;
    Bytes data;
    std::string text, with_zeros;
  } cases[] = {
      {"string", kRegSz, Utf16Z("abc"), "abc", "abc\0"s},
      {"only one terminator goes", kRegSz, Utf16Z("a\0"sv), "a\0"s, "a\0\0"s},
      {"inner zero", kRegExpandSz, Utf16Z("a\0b"sv), "a\0b"s, "a\0b\0"s},
      {"strings", kRegMultiSz, Utf16Z("a\0b\0"sv), "a b ", "a\0b\0\0"s},
      {"binary", kRegBinary, Raw("a\0b"sv), "a\0b"s, "a\0b"s},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(DataText(c.type, c.data), c.text) << c.what;
    EXPECT_EQ(DataText(c.type, c.data, true), c.with_zeros) << c.what;
  }
}

TEST(ValueText, MarkersAndIconsByStatusAndType) {
  const Bytes data = Raw("\1\0\0\0"sv);
  const struct {
    ValueStatus status;
    uint32_t type;
    uint32_t length;
    bool listed;
    const char* text;
    int icon;
  } cases[] = {
      {ValueStatus::kRead, kRegDword, 4, true, "0x00000001 (1)", 2},
      {ValueStatus::kRead, kRegBinary, 4, true, "01 00 00 00 ", 3},
      {ValueStatus::kDataOffset, kRegSz, 40, true, "Data Offset Error", 7},
      {ValueStatus::kDataLength, kRegDword, 4, true, "ERR_DATALEN", 8},
      {ValueStatus::kDataLength, kRegDword, 8, true, "ERR_DATALEN", 9},
      {ValueStatus::kNoBase, kRegMultiSz, 40, true, "ERR_BINVAL", 7},
      {ValueStatus::kTooLong, kRegBinary, 9, false, "", 3},
      {ValueStatus::kNotAValue, kRegSz, 0, false, "", 1},
      {ValueStatus::kEmpty, kRegQword, 8, false, "", 3},
  };
  for (const auto& c : cases) {
    ValueKey value;
    value.status = c.status;
    value.type = c.type;
    value.data_length = c.length;
    SCOPED_TRACE(static_cast<int>(c.status));
    EXPECT_EQ(IsListed(c.status), c.listed);
    EXPECT_EQ(ValueDataText(value, data), c.text);
    EXPECT_EQ(IconOfValue(value), c.icon);
  }
}

TEST(ValueText, HexDump) {
  EXPECT_EQ(HexDump(Raw("ABCDEFGHij\n")),
            "0000 41 42 43 44 45 46 47 48  ABCDEFGH\r\n"
            "0008 69 6a 0a                 ij.\r\n");
  const std::string below = HexDump(Bytes(0xFFFF));
  EXPECT_EQ(below.substr(0, 8), "0000 00 ");
  const std::string dump = HexDump(Bytes(0x10001, 0xFF));
  EXPECT_EQ(dump.substr(0, 9), "00000 ff ");
  EXPECT_EQ(dump.substr(dump.rfind('\n', dump.size() - 2) + 1),
            "10000 ff" + std::string(23, ' ') + "\u00FF\r\n");
  const std::string large = HexDump(Bytes(0x100001, 'x'));
  EXPECT_EQ(large.substr(large.rfind('\n', large.size() - 2) + 1),
            "100000 78" + std::string(23, ' ') + "x\r\n");
}

class ValueDetailTest : public ::testing::Test {
 protected:
  ~ValueDetailTest() override { ResetHiveTable(); }

  const HiveImage& Open(const testing::BuiltHive& built) {
    const testing::TempFile file(built.bytes);
    const int slot = OpenHive(file.name());
    EXPECT_GT(slot, 0);
    return HiveOfSlot(slot);
  }
};

TEST_F(ValueDetailTest, HeaderAndBodyByType) {
  const struct {
    const char* name;
    uint32_t type;
    Bytes data;
    std::string length_and_body;
  } cases[] = {
      {"text", kRegSz, Utf16Z("Tools"), "Length 5\r\nTools"},
      {"no end", kRegExpandSz, Utf16("%windir%\\x"), "Length 0xA (10)\r\n%windir%\\x"},
      {"only end", kRegSz, Raw("\0\0"sv), "Length 0\r\n"},
      {"nothing", kRegBinary, {}, "Length 0\r\n"},
      {"inner zero", kRegSz, Utf16Z("a\0b"sv),
       "Length 8\r\n0000 61 00 00 00 62 00 00 00  a...b...\r\n"},
      {"number", kRegDword, Raw("\x0A\0\0\0"sv), "Length 4\r\n0x0000000A (10)"},
      {"short number", kRegDword, Raw("\x0A\0"sv),
       "Length 2\r\n0000 0a 00                    ..\r\n"},
      {"strings", kRegMultiSz, Utf16Z("a\0"sv),
       "Length 6\r\n0000 61 00 00 00 00 00        a.....\r\n"},
  };
  testing::HiveBuilder builder;
  for (const auto& c : cases) builder.Key("K").Value(c.name, c.type, c.data);
  const testing::BuiltHive built = builder.Build();
  const HiveImage& hive = Open(built);
  for (const auto& c : cases) {
    const uint32_t value = built.ValuePosition("K", c.name);
    const uint32_t data = c.data.size() > 4 ? built.DataPosition("K", c.name) : value + 12;
    const ValueDetailText detail = ValueDetail(hive, value);
    EXPECT_EQ(detail.status, ValueStatus::kRead) << c.name;
    EXPECT_EQ(detail.text,
              testing::Formatted("Type %u, Value 0x%X, Data 0x%X, ", c.type, value, data) +
                  c.length_and_body)
        << c.name;
  }
}

TEST_F(ValueDetailTest, UnreadableValueHasNoText) {
  testing::HiveBuilder builder;
  builder.Key("K").Sz("v", "text");
  testing::BuiltHive built = builder.Build();
  const uint32_t value = built.ValuePosition("K", "v");
  built.SetU32(value, testing::field::kValueData, 0x41);
  const HiveImage& hive = Open(built);
  EXPECT_EQ(ValueDetail(hive, value).status, ValueStatus::kDataOffset);
  EXPECT_EQ(ValueDetail(hive, value).text, "");
  EXPECT_EQ(ValueDetail(hive, built.PositionOf("K")).status, ValueStatus::kNotAValue);
}

TEST_F(ValueDetailTest, NameWithLineEndsEscaped) {
  testing::HiveBuilder builder;
  builder.Key("K").Sz("a\r\nb", "x").Sz("", "y");
  const testing::BuiltHive built = builder.Build();
  const HiveImage& hive = Open(built);
  EXPECT_EQ(ValueDetailName(hive, built.ValuePosition("K", "a\r\nb")), "a\\r\\nb");
  const ValueKey unnamed =
      ReadValueKey(hive, built.ValuePosition("K", ""), ValueRead::kName, kMaxValueData, nullptr);
  EXPECT_EQ(ValueDisplayName(unnamed), "(Default value)");
}

}  // namespace
}  // namespace hivequarry
