// Any bytes as a hive file, and a pattern after them: the fast way through the hive finds what the
// plain walk finds.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "fuzz/fuzzed_hive.h"
#include "host/text.h"
#include "reports/search_sieve.h"

namespace {

using namespace hivequarry;
using fuzzing::FuzzedHive;
using fuzzing::Require;

// The input's end: what is ticked (two bytes), the pattern's length, where in the hive it is taken
// from (three bytes), and the pattern, for when it is not.
constexpr size_t kPattern = 18;
constexpr size_t kQuestion = 6 + kPattern;

using Bytes = std::span<const uint8_t>;

std::string PatternOf(Bytes question, Bytes hive, bool from_hive) {
  const size_t length = question[2] % kPattern + 1;
  const size_t at = question[3] | size_t{question[4]} << 8 | size_t{question[5]} << 16;
  const Bytes source =
      from_hive && !hive.empty() ? hive.subspan(at % hive.size()) : question.subspan(6);
  const Bytes bytes = source.first(std::min(source.size(), length));
  return std::string(bytes.begin(), bytes.end());
}

bool PatternAsked(Bytes question, Bytes hive, SearchPattern& pattern) {
  const unsigned ticks = question[0] | static_cast<unsigned>(question[1]) << 8;
  SearchSettings asked;
  asked.hex_mode = (ticks & 1) != 0;
  asked.match_case = (ticks & 2) != 0;
  asked.match_length = (ticks & 4) != 0;
  asked.dword = (ticks & 8) != 0;
  asked.wide = (ticks & 16) != 0;
  asked.key_names = (ticks & 32) != 0;
  asked.value_names = (ticks & 64) != 0;
  asked.value_data = (ticks & 128) != 0;
  asked.regular = (ticks & 1024) != 0;
  asked.whole_words = (ticks & 2048) != 0;
  std::string text = PatternOf(question, hive, (ticks & 256) != 0);
  // Texts are stored with zeros between their characters as often as without.
  if ((ticks & 512) != 0) std::erase(text, '\0');
  text = TextOfEither(text);
  (asked.hex_mode ? asked.hex : asked.text) = asked.hex_mode ? HexOfText(text) : text;
  return CompilePattern(asked, pattern);
}

void RequireSame(const OutputList& plain, const OutputList& sieved) {
  Require(RowCount(plain) == RowCount(sieved));
  for (uint32_t row = 0; row < RowCount(plain); ++row) {
    Require(RowDatum(plain, row) == RowDatum(sieved, row));
    for (int column = 0; column < ColumnCount(plain); ++column) {
      Require(CellText(plain, row, column) == CellText(sieved, row, column));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < kQuestion) return 0;
  const Bytes bytes(data, size - kQuestion);
  SearchPattern pattern;
  if (!PatternAsked({data + bytes.size(), kQuestion}, bytes, pattern)) return 0;
  const FuzzedHive opened(bytes.data(), bytes.size());
  const OutputListPtr plain = MakeSearchList(true);
  const OutputListPtr sieved = MakeSearchList(true);
  const auto search = [&](SearchWay way, OutputList& list) {
    return SearchBranchBy(way, opened.hive, opened.tree, 0, pattern, list);
  };
  Require(search(SearchWay::kPlain, *plain) == search(SearchWay::kSieved, *sieved));
  RequireSame(*plain, *sieved);
  return 0;
}
