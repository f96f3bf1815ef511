// What bytes of a value may mean, and values as the text that suits their type.
#include "view/value_meaning.h"

#include <gtest/gtest.h>

#include "hive/values.h"
#include "tests/support/hive_builder.h"
#include "tests/support/texts.h"

namespace hivequarry {
namespace {

using testing::Bytes;

std::string MeaningOf(const Bytes& bytes, size_t at, size_t length, std::string_view label) {
  for (const Meaning& meaning : MeaningsAt(bytes, at, length)) {
    if (meaning.label == label) return meaning.text;
  }
  return "none";
}

TEST(ValueMeaning, OfBytesAtAPlace) {
  const Bytes time = {0x00, 0x80, 0x3E, 0xD5, 0xDE, 0xB1, 0x9D, 0x01};
  const Bytes sid = {1, 1, 0, 0, 0, 0, 0, 5, 18, 0, 0, 0};
  const Bytes guid = {0xE0, 0x4F, 0xD0, 0x20, 0xEA, 0x3A, 0x69, 0x10,
                      0xA2, 0xD8, 0x08, 0x00, 0x2B, 0x30, 0x30, 0x9D};
  const struct {
    const char* what;
    Bytes bytes;
    size_t at;
    size_t length;
    const char* label;
    const char* text;
  } cases[] = {
      {"byte below zero", {0xC8}, 0, 0, "8 bits", "200 (-56), 0xC8"},
      {"word", {0, 0x34, 0x12}, 1, 0, "16 bits", "4660, 0x1234"},
      {"word the other way", {0x12, 0x34}, 0, 0, "16 bits, high byte first", "4660, 0x1234"},
      {"no room for a word", {1}, 0, 0, "16 bits", "none"},
      {"selection of another length", {1, 2, 3, 4}, 0, 2, "32 bits", "none"},
      {"all ones", Bytes(8, 0xFF), 0, 0, "64 bits",
       "18446744073709551615 (-1), 0xFFFFFFFFFFFFFFFF"},
      {"FILETIME",
       {0x80, 0x3E, 0xD5, 0xDE, 0xB1, 0x9D, 0xBF, 0x01},
       0,
       0,
       "FILETIME",
       "2000-04-03T21:16:26.2952576Z"},
      {"no FILETIME", Bytes(8, 1), 0, 0, "FILETIME", "none"},
      {"Unix", {0x00, 0xE1, 0xF5, 0x4E}, 0, 0, "Unix time", "2011-12-24T14:26:08.0000000Z"},
      {"milliseconds",
       {0x00, 0x0C, 0x6B, 0x5A, 0x39, 0x01, 0, 0},
       0,
       0,
       "Unix time, milliseconds",
       "2012-08-24T20:55:28.5120000Z"},
      {"OLE", {0, 0, 0, 0, 0, 0x88, 0xE3, 0x40}, 0, 0, "OLE time", "2009-07-06T00:00:00.0000000Z"},
      {"float", {0, 0, 0xC0, 0x3F}, 0, 0, "Float", "1.5"},
      {"double", {0, 0, 0, 0, 0, 0, 0xF8, 0x3F}, 0, 0, "Double", "1.5"},
      {"SID", sid, 0, 0, "SID", "S-1-5-18 (NT AUTHORITY\\SYSTEM)"},
      {"GUID", guid, 0, 0, "GUID", "{20D04FE0-3AEA-1069-A2D8-08002B30309D} (My Computer)"},
      {"text", {'a', 'b', 0, 'c'}, 0, 0, "Text, a byte a character", "\"ab\""},
      {"wide text", {'a', 0, 'b', 0, 0, 0}, 0, 0, "Text, UTF-16", "\"ab\""},
      {"wide text of a selection", {'a', 0, 'b', 0}, 0, 2, "Text, UTF-16", "\"a\""},
      {"after the end", {1, 2}, 2, 0, "8 bits", "none"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(MeaningOf(c.bytes, c.at, c.length, c.label), c.text) << c.what;
  }
  EXPECT_TRUE(MeaningsAt(time, 9, 0).empty());
}

TEST(ValueMeaning, ValuesAsText) {
  const struct {
    const char* what;
    uint32_t type;
    Bytes bytes;
    const char* text;
  } cases[] = {
      {"strings", kRegMultiSz, {'a', 0, 0, 0, 'b', 0, 'c', 0, 0, 0, 0, 0}, "a\r\nbc\r\n"},
      {"an empty one among them",
       kRegMultiSz,
       {'a', 0, 0, 0, 0, 0, 'b', 0, 0, 0, 0, 0},
       "a\r\n\r\nb\r\n"},
      {"no strings", kRegMultiSz, {0, 0}, ""},
      {"number", kRegDword, {5, 0, 0, 0}, "5, 0x00000005\r\n"},
      {"high byte first", kRegDwordBigEndian, {0, 0, 0, 5}, "5, 0x00000005\r\n"},
      {"number of another length", kRegDword, {5, 0}, ""},
      {"wide number",
       kRegQword,
       {0x80, 0x3E, 0xD5, 0xDE, 0xB1, 0x9D, 0xBF, 0x01},
       "125992701862952576, 0x01BF9DB1DED53E80\r\nFILETIME: 2000-04-03T21:16:26.2952576Z\r\n"},
      {"bytes", kRegBinary, {1, 2, 3, 4}, ""},
      {"property that is a number", 0xFFFF0007, {5, 0, 0, 0}, "device property, uint32\r\n5\r\n"},
  };
  for (const auto& c : cases) EXPECT_EQ(ValueAsText(c.type, c.bytes), c.text) << c.what;
}

TEST(ValueMeaning, EndsDetailsOfWhatIsNoTextOrNumber) {
  const Bytes strings = {'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0};
  EXPECT_EQ(MeaningDetail(kRegMultiSz, strings), "\r\nStrings, one a line:\r\na\r\nb\r\n");
  EXPECT_EQ(MeaningDetail(kRegBinary, Bytes{7}), "");
  EXPECT_EQ(MeaningDetail(kRegQword, Bytes{7, 0, 0, 0, 0, 0, 0, 0}).substr(0, 33),
            "\r\nMeaning:\r\n7, 0x0000000000000007");
  EXPECT_EQ(MeaningDetail(kRegSz, strings), "");
  EXPECT_EQ(MeaningDetail(kRegDword, Bytes{1, 0, 0, 0}), "");
}

}  // namespace
}  // namespace hivequarry
