#include "words/property_values.h"

#include <gtest/gtest.h>

#include "hive/timestamp.h"
#include "host/text.h"
#include "tests/support/hive_builder.h"

namespace hivequarry {
namespace {

using testing::Bytes;
using testing::Joined;

constexpr uint64_t kTime = 131'659'896'000'000'000;  // 2018-03-20T03:20:00Z

Bytes Numbers(std::initializer_list<uint64_t> numbers, size_t size) {
  Bytes bytes;
  for (const uint64_t number : numbers) {
    for (size_t i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(number >> 8 * i));
  }
  return bytes;
}
Bytes Wide(std::u16string_view text) {
  Bytes bytes;
  for (const char16_t unit : text) {
    bytes.insert(bytes.end(), {static_cast<uint8_t>(unit), static_cast<uint8_t>(unit >> 8)});
  }
  return bytes;
}
using namespace std::string_view_literals;

TEST(PropertyValues, SettingsOfAppsByType) {
  const Bytes member = Joined(
      {Numbers({12 + 4 + 4, 0x104, 1}, 4), Wide(u"n\0"sv), Numbers({0xFFFFFFFF}, 4), Bytes(4)});
  const Bytes last =
      Joined({Numbers({12 + 6 + 4, 0x5F5E10C, 2}, 4), Wide(u"tt\0"sv), Wide(u"x\0"sv), Bytes(2)});
  Bytes other_type = member;
  other_type[5] = 2;  // 0x204
  const struct {
    const char* what;
    uint32_t type;
    Bytes data;  // less the time
    const char* type_words;
    const char* text;
    const char* fault = "";
  } cases[] = {
      {"byte", 0x101, {200}, "byte", "200"},
      {"signed", 0x102, Numbers({0xFFFE}, 2), "int16", "-2"},
      {"lowest", 0x106, Numbers({uint64_t{1} << 63}, 8), "int64", "-9223372036854775808"},
      {"highest", 0x107, Numbers({UINT64_MAX}, 8), "uint64", "18446744073709551615"},
      {"float", 0x108, Numbers({0x3FC00000}, 4), "float", "1.5"},
      {"double", 0x109, Numbers({0x3FF8000000000000}, 8), "double", "1.5"},
      {"boolean", 0x10B, {1}, "boolean", "true"},
      {"text", 0x10C, Wide(u"\u041F\u0440\0"sv), "text", "\xD0\x9F\xD1\x80"},
      {"text of an odd length", 0x10C, {'a', 0, 'b'}, "text", "ab"},
      {"no text", 0x10C, {}, "text", ""},
      {"time", 0x10E, Numbers({kTime}, 8), "time", "2018-03-20T03:20:00.0000000Z"},
      {"span", 0x10F, Numbers({uint64_t(-864'000'010'000'007)}, 8), "time span",
       "-1000.00:00:01.0000007"},
      {"rectangle", 0x113, Numbers({0, 0x3F800000, 0x40000000, 0x40400000}, 4), "rectangle",
       "0 1 2 3"},
      {"list of numbers", 0x118, Numbers({1, 2}, 4), "list of uint32", "1, 2"},
      {"the type after the composite's", 0x120, Numbers({kTime}, 8), "list of time",
       "2018-03-20T03:20:00.0000000Z"},
      {"the last type", 0x125, Bytes(16), "list of rectangle", "0 0 0 0"},
      {"texts with lengths", 0x11F,
       Joined({Numbers({4}, 4), Wide(u"a\0"sv), Numbers({2}, 4), Wide(u"b")}), "list of text",
       "a, b"},
      {"texts with zeros", 0x11F, Wide(u"ab\0c\0\0"sv), "list of text", "ab, c"},
      {"texts cut", 0x11F, Wide(u"ab"), "list of text", "", "the data have another form"},
      {"composite", 0x10D, Joined({member, last}), "composite", "n: -1, tt: x"},
      {"composite of other types", 0x10D, other_type, "composite", "",
       "the data have another form"},
      {"composite cut", 0x10D, Bytes(member.begin(), member.begin() + 18), "composite", "",
       "the data have another form"},
      {"number of another length", 0x104, {1, 2}, "int32", "", "the data have another form"},
      {"list cut", 0x118, Bytes(7), "list of uint32", "", "the data have another form"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const PropertyValue value =
        ReadPropertyValue(0x5F5E000 + c.type, Joined({c.data, Numbers({kTime}, 8)}));
    EXPECT_EQ(value.kind, "app setting");
    EXPECT_EQ(value.type, c.type_words);
    EXPECT_EQ(value.text, c.text);
    EXPECT_EQ(value.fault, c.fault);
    EXPECT_EQ(value.written, kTime);
  }
  EXPECT_EQ(ReadPropertyValue(0x5F5E104, Bytes(7)).fault, "the data end before their time");
  EXPECT_EQ(ReadPropertyValue(0x5F5E104, {}).written, 0U);
  for (const uint32_t other : {0x5F5E100U, 0x5F5E126U, 1U, 0x20U}) {
    EXPECT_EQ(PropertyWords(ReadPropertyValue(other, Bytes(16))), "") << other;
  }
}

// As texts of the registry's own types are.
TEST(PropertyValues, TextsInTheReadingInForce) {
  const Bytes data = Joined({Wide(u"\u041F\u0440\0"sv), Numbers({kTime}, 8)});
  ReadInCodePage(true);
  EXPECT_EQ(ReadPropertyValue(0x5F5E10C, data).text, "??");
  ReadInCodePage(false);
  EXPECT_EQ(ReadPropertyValue(0x5F5E10C, data).text, "\u041F\u0440");
}

TEST(PropertyValues, LongListsSayHowMuchIsLeftOut) {
  const PropertyValue value = ReadPropertyValue(0x5F5E114, Bytes(5008, 7));
  EXPECT_EQ(value.text.size(), 3 * kMostPropertyItems - 2);
  EXPECT_EQ(value.fault, "the first 4096 of 5000 items");
}

TEST(PropertyValues, PropertiesOfDevices) {
  const struct {
    uint32_t type;
    Bytes data;
    const char* words;
    const char* text;
  } cases[] = {
      {0xFFFF0012, Wide(u"Disk\0"sv), "device property, text", "Disk"},
      {0xFFFF2012, Wide(u"a\0b\0\0"sv), "device property, list of text", "a, b"},
      {0xFFFF0010, Numbers({kTime}, 8), "device property, time", "2018-03-20T03:20:00.0000000Z"},
      {0xFFFF0011, {0xFF}, "device property, boolean", "true"},
      {0xFFFF1003, {1, 2}, "device property, list of byte", "1, 2"},
      {0xFFFF0FFF, {1}, "device property, 0xFFFF0FFF (a type that is not known)", ""},
      {0xFFFF000D, Bytes(15), "device property, GUID (the data have another form)", ""},
  };
  for (const auto& c : cases) {
    const PropertyValue value = ReadPropertyValue(c.type, c.data);
    EXPECT_EQ(PropertyWords(value), c.words);
    EXPECT_EQ(value.text, c.text) << c.words;
  }
}

}  // namespace
}  // namespace hivequarry
