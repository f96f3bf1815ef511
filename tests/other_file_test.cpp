// What files are that hold no hive.
#include "words/other_file.h"

#include <gtest/gtest.h>

#include <random>
#include <string_view>
#include <vector>

namespace hivequarry {
namespace {

using namespace std::string_view_literals;

std::string WordsOf(std::string_view start, uint64_t length = 0) {
  const ByteView bytes(reinterpret_cast<const uint8_t*>(start.data()), start.size());
  return OtherFileWords(bytes, length == 0 ? start.size() : length);
}

TEST(OtherFile, IsToldByItsFirstBytes) {
  const struct {
    std::string_view start;
    const char* words;
  } cases[] = {
      {"", "The file is empty."},
      {"MZ\x90\0"sv, "The file begins as a Windows program or library."},
      {"\0\0\0\0\xEF\xCD\xAB\x89"sv,
       "The file begins as a database of the extensible storage engine."},
      {"\xEB\x52\x90NTFS    \0"sv,
       "The file begins as an NTFS volume: mount it, or take the hives out."},
      {"\x3A\xB1\x80regf\x05"sv,
       "The file begins as a hive in compressed clusters of a volume: copy it through the file "
       "system, which expands it."},
      {"\x3A\xB1\x81regf\x05"sv, ""},  // the first of these letters is no letter
      {"\x3A\x31\x80regf\x05"sv, ""},  // a chunk that is stored as it is
      {"\0\0\0\0\0\0"sv, "The file is 6 bytes 0x00 and nothing else."},
      {"EVF\x09"sv, ""},  // cut before its signature ends
      {"some text", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(WordsOf(c.start), c.words);
  EXPECT_EQ(WordsOf("\xFF\xFF\xFF"sv, 100), "The file begins with 3 bytes 0xFF.");
}

TEST(OtherFile, BytesWithoutAPatternAreToldFromText) {
  std::mt19937 random(1);
  std::string bytes(kOtherFileStart, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  bytes[0] = 'x';
  EXPECT_EQ(WordsOf(bytes), "The file's bytes show no pattern: it is encrypted or compressed.");
  for (char& c : bytes) c = static_cast<char>(c & 0x7F);
  EXPECT_EQ(WordsOf(bytes), "");
  EXPECT_EQ(WordsOf(bytes.substr(0, 100)), "");  // too few to tell
}

}  // namespace
}  // namespace hivequarry
