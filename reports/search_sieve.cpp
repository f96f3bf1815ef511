#include "reports/search_sieve.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "hive/keys.h"
#include "host/case.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

constexpr uint32_t kStretchShift = 6;          // 64 bytes a stretch
constexpr uint32_t kSieveBlock = 128;          // bytes looked at together
constexpr uint32_t kSievePiece = 1024 * 1024;  // from one question whether to stop to the next
constexpr uint32_t kMaxKeyName = 510;          // bytes of a key's name that are read
constexpr uint32_t kMaxBigCells = 4096;        // more of them and no sieve is made
constexpr uint32_t kMaxSegments = kMaxValueData / kBigDataSegment + 1;

// A character to look for: a byte matches when it is `value` with the bits of `ignored` set.
struct SievedByte {
  uint8_t ignored = 0;
  uint8_t value = 0;
  bool usable = false;
  bool Matches(uint8_t byte) const { return (byte | ignored) == value; }
};

// The run of characters looked for, and the pair in it that is looked for first.
struct SievedRun {
  std::vector<SievedByte> bytes;
  size_t pair = 0;
};

// The bytes of one unit of a pattern's text as they are in names and data: one that a zero may
// follow, or two. None for a unit that cannot be looked for.
class UnitRules {
 public:
  explicit UnitRules(const SearchPattern& pattern)
      : match_case_(pattern.settings.match_case), page_(*CurrentHost().code_page) {
    if (pattern.plain || match_case_) return;
    // The small letters of the capitals that are looked for.
    for (uint32_t unit = 0x80; unit < 0x10000; ++unit) {
      const char16_t capital = CapitalOf(static_cast<char16_t>(unit));
      const bool wanted = capital != unit && pattern.units.find(capital) != std::u16string::npos;
      if (wanted) letters_.push_back({capital, static_cast<char16_t>(unit)});
    }
  }

  std::vector<SievedByte> Of(char16_t unit) const {
    if (unit < 0x80) return OfAscii(unit);
    SievedByte low{0, static_cast<uint8_t>(unit), true};
    SievedByte high{0, static_cast<uint8_t>(unit >> 8), true};
    if (!IsWide(unit)) return {};
    for (const auto& [capital, letter] : letters_) {
      if (capital != unit) continue;
      if (!IsWide(letter)) return {};
      low.ignored |= static_cast<uint8_t>(letter ^ unit);
      high.ignored |= static_cast<uint8_t>((letter ^ unit) >> 8);
    }
    low.value |= low.ignored;
    high.value |= high.ignored;
    return {low, high};
  }

 private:
  // A unit that is two bytes wherever it is, none of them zero: no single-byte name has it, nor has
  // the code page.
  bool IsWide(char16_t unit) const {
    return unit > 0xFF && (unit & 0xFF) != 0 && page_.byte_of_wide[unit] == 0;
  }

  // The byte that a character is stored as whatever the encoding; nothing where the code page may
  // store it otherwise. Without regard to case the bit that tells capitals from small letters is
  // ignored.
  std::vector<SievedByte> OfAscii(char16_t unit) const {
    const bool plain = unit > u' ' && unit < 0x7F && unit != u'?';
    const bool itself = page_.byte_of_wide[unit] == unit && page_.wide_of_byte[unit] == unit;
    if (!plain || !itself) return {};
    const bool letter = unit >= u'A' && unit <= u'Z' && !match_case_;
    const uint8_t ignored = letter ? 0x20 : 0;
    return {{ignored, static_cast<uint8_t>(unit | ignored), true}};
  }

  struct Letter {
    char16_t capital;
    char16_t letter;
  };
  bool match_case_;
  const CodePage& page_;
  std::vector<Letter> letters_;
};

// The bytes of a hex pattern are looked for as they are, or, where case is not heeded, as the code
// page's letters.
std::vector<SievedByte> BytesFor(const SearchPattern& pattern, uint8_t byte) {
  SievedByte sieved{0, byte, byte > ' ' && byte < 0x7F && byte != '?'};
  for (unsigned other = 0; other < 256 && !pattern.settings.match_case; ++other) {
    if (pattern.fold[other] != pattern.fold[byte]) continue;
    sieved.usable = sieved.usable && other < 0x7F;
    sieved.ignored |= static_cast<uint8_t>(other ^ byte);
  }
  sieved.value |= sieved.ignored;
  return sieved.usable ? std::vector<SievedByte>{sieved} : std::vector<SievedByte>();
}

// The longest run of usable characters.
// A character with several encodings, or that texts are shown with in place of others ("?"), can't
// be looked for by its bytes.
std::vector<SievedByte> LongestRun(const SearchPattern& pattern) {
  std::vector<SievedByte> best;
  std::vector<SievedByte> run;
  const auto add = [&](const std::vector<SievedByte>& bytes) {
    if (bytes.empty()) run.clear();
    run.insert(run.end(), bytes.begin(), bytes.end());
    if (run.size() > best.size()) best = run;
  };
  if (pattern.settings.hex_mode) {
    for (const char byte : pattern.bytes) add(BytesFor(pattern, static_cast<uint8_t>(byte)));
    return best;
  }
  const UnitRules rules(pattern);
  for (const char16_t unit : pattern.units) add(rules.Of(unit));
  return best;
}

// How often bytes occur in samples from the whole image.
std::array<uint32_t, 256> SampleBytes(std::span<const uint8_t> image) {
  // 64 KB in all: enough to tell frequent bytes from rare ones, and nothing beside the search.
  constexpr size_t kSamples = 64;
  constexpr size_t kSampleSize = 1024;
  std::array<uint32_t, 256> counts{};
  const size_t step = std::max(image.size() / kSamples, kSampleSize);
  for (size_t at = 0; at < image.size(); at += step) {
    for (const uint8_t byte : image.subspan(at, std::min(kSampleSize, image.size() - at))) {
      ++counts[byte];
    }
  }
  return counts;
}

// The pair whose characters are the rarest in the image, so that few places have to be looked at.
size_t RarestPair(const std::vector<SievedByte>& run, std::span<const uint8_t> image) {
  const std::array<uint32_t, 256> counts = SampleBytes(image);
  const auto share = [&](const SievedByte& byte) {
    const auto other = static_cast<uint8_t>(byte.value & ~byte.ignored);
    return uint64_t{counts[byte.value]} + (byte.ignored != 0 ? counts[other] : 0) + 1;
  };
  size_t best = 0;
  for (size_t i = 1; i + 1 < run.size(); ++i) {
    if (share(run[i]) * share(run[i + 1]) < share(run[best]) * share(run[best + 1])) best = i;
  }
  return best;
}

// True when the run is around `at`, where its pair begins.
bool StandsAt(const SievedRun& run, std::span<const uint8_t> bytes, size_t at) {
  size_t next = at;
  for (size_t i = run.pair; i < run.bytes.size(); ++i) {
    if (i != run.pair && next < bytes.size() && bytes[next] == 0) ++next;
    if (next >= bytes.size() || !run.bytes[i].Matches(bytes[next])) return false;
    ++next;
  }
  for (size_t i = run.pair; i-- > 0;) {
    if (at > 0 && bytes[at - 1] == 0) --at;
    if (at == 0 || !run.bytes[i].Matches(bytes[at - 1])) return false;
    --at;
  }
  return true;
}

// Non-zero when one of kSieveBlock places has the one byte and, one or two places on, the other;
// there are two bytes after the block. Plain enough for the compiler to take many places at a time.
uint8_t BlockHasPair(const uint8_t* bytes, SievedByte one, SievedByte other) {
  uint8_t found = 0;
  for (uint32_t i = 0; i < kSieveBlock; ++i) {
    const uint8_t here = (bytes[i] | one.ignored) == one.value ? 0xFF : 0;
    const uint8_t next = (bytes[i + 1] | other.ignored) == other.value ? 0xFF : 0;
    const uint8_t wide = (bytes[i + 2] | other.ignored) == other.value ? 0xFF : 0;
    found = static_cast<uint8_t>(found | (here & (next | wide)));
  }
  return found;
}

// Calls `found` with each place from `start` to `end` where the pair may begin. Reads up to
// kSieveBlock bytes after, which are there after an image.
template <typename Found>
void ForEachPair(const uint8_t* bytes, size_t start, size_t end, SievedByte one, SievedByte other,
                 const Found& found) {
  for (size_t block = start; block < end; block += kSieveBlock) {
    if (BlockHasPair(bytes + block, one, other) == 0) continue;
    for (size_t at = block; at < std::min(end, block + kSieveBlock); ++at) {
      const bool second = other.Matches(bytes[at + 1]) || other.Matches(bytes[at + 2]);
      if (one.Matches(bytes[at]) && second) found(at);
    }
  }
}

// One pass over the image marks the stretches where something like the pattern begins; names and
// data without a mark need not be read. Marks may be too many, never too few: what is not sure to
// be found by its bytes alone is let through.
class Sieving {
 public:
  Sieving(const HiveImage& hive, const SearchPattern& pattern, SearchSieve& sieve)
      : hive_(hive), pattern_(pattern), sieve_(sieve), image_(ImageBytes(hive)) {}

  // False when no sieve can be made.
  bool Run() {
    run_.bytes = LongestRun(pattern_);
    if (run_.bytes.size() < 2) return false;
    run_.pair = RarestPair(run_.bytes, image_);
    sieve_.stones.assign((size_t{hive_.length} >> kStretchShift) / 64 + 1, 0);
    for (size_t start = 0; start < image_.size(); start += kSievePiece) {
      const size_t end = std::min(start + kSievePiece, image_.size());
      if (StopRequested() || !SievePiece(start, end)) return false;
    }
    SieveEdits();
    return true;
  }

 private:
  // Marks where the pattern's rarest pair may stand, and cells of segments, whose data go on
  // elsewhere. False when there are too many of these to be worth it.
  bool SievePiece(size_t start, size_t end) {
    ForEachPair(image_.data(), start, end, run_.bytes[run_.pair], run_.bytes[run_.pair + 1],
                [this](size_t at) {
                  if (StandsAt(run_, image_, at)) Mark(at);
                });
    constexpr SievedByte kD{0, kSignatureDb & 0xFF, true};
    constexpr SievedByte kB{0, kSignatureDb >> 8, true};
    ForEachPair(image_.data(), start, end, kD, kB, [this](size_t at) { SieveBigCell(at); });
    return big_cells_ <= kMaxBigCells;
  }

  // A "db" cell is one of 16 bytes; data that it holds go on from segment to segment.
  void SieveBigCell(size_t signature) {
    // As it is stored, of an allocated cell.
    constexpr uint32_t kBigCellSize = 0U - 16;
    if (signature < 4 || signature + 12 > image_.size()) return;
    const auto cell = static_cast<uint32_t>(signature) - 4;
    const bool big =
        ReadU32(hive_, cell) == kBigCellSize && ReadU16(hive_, cell + 4) == kSignatureDb;
    if (!big || ++big_cells_ > kMaxBigCells) return;
    const uint32_t list = ReadOffset(hive_, cell + 8) + 4;
    for (uint32_t i = 0; i + 1 < kMaxSegments && InsideHive(hive_, list + 4 * i, 8); ++i) {
      const uint32_t one = ReadOffset(hive_, list + 4 * i) + 4;
      const uint32_t next = ReadOffset(hive_, list + 4 * i + 4) + 4;
      if (!InsideHive(hive_, one, kBigDataSegment) || !InsideHive(hive_, next, 1)) return;
      SieveSeam(one + kBigDataSegment, next);
    }
  }

  // The end of one segment and the start of the next, put together.
  // Such a hit has no stretch of its own: it counts for `any`, and big data are let through
  // (MayMatchValue).
  void SieveSeam(uint32_t end, uint32_t next) {
    const auto reach =
        static_cast<uint32_t>(2 * std::max(pattern_.bytes.size(), pattern_.units.size()));
    std::vector<uint8_t> seam(2 * size_t{reach});
    const uint32_t before = std::min(reach, kBigDataSegment);
    ReadBytes(hive_, end - before, seam.data() + reach - before, before);
    ReadBytes(hive_, next, seam.data() + reach, reach);
    for (size_t at = 0; at < seam.size(); ++at) {
      if (StandsAt(run_, seam, at)) sieve_.any = true;
    }
  }

  // The values' cells are let through (MayMatchValue); here it counts whether there is any.
  void SieveEdits() {
    if (!hive_.edits.any) return;
    for (const ValueEditPtr& edit : ListEdits(hive_)) {
      if (MatchData(pattern_, edit->type, edit->data)) sieve_.any = true;
    }
  }

  void Mark(size_t at) {
    const size_t stretch = at >> kStretchShift;
    sieve_.stones[stretch / 64] |= uint64_t{1} << stretch % 64;
    sieve_.any = true;
  }

  const HiveImage& hive_;
  const SearchPattern& pattern_;
  SearchSieve& sieve_;
  std::span<const uint8_t> image_;
  SievedRun run_;
  uint32_t big_cells_ = 0;
};

}  // namespace

SearchSieve SieveImage(const HiveImage& hive, const SearchPattern& pattern) {
  static_assert(kSieveBlock + 2 <= kImageSlack);
  SearchSieve sieve;
  const bool text = !pattern.settings.regular && !pattern.everything;
  if (hive.buffer != nullptr && text &&
      std::max(pattern.bytes.size(), pattern.units.size()) <= kMaxPattern) {
    sieve.usable = Sieving(hive, pattern, sieve).Run();
  }
  return sieve;
}

bool MayHold(const SearchSieve& sieve, uint32_t position, uint32_t length) {
  if (!sieve.usable) return true;
  if (!sieve.any || length == 0) return false;
  const size_t last = (uint64_t{position} + length - 1) >> kStretchShift;
  for (size_t stretch = position >> kStretchShift; stretch <= last; ++stretch) {
    if (stretch / 64 >= sieve.stones.size()) return false;
    if ((sieve.stones[stretch / 64] >> stretch % 64 & 1) != 0) return true;
  }
  return false;
}

bool MayMatchName(const SearchSieve& sieve, const HiveImage& hive, const KeyTree& tree,
                  uint32_t item) {
  const KeyItem& it = tree.items[item];
  const bool made =
      it.kind == ItemKind::kRoot || HasMadeName(tree, it) || (it.marks & kMarkHashName) != 0;
  // A name of a damaged key may be as long as its cell.
  const uint32_t length = made ? 0U : ReadU16(hive, it.position + kKeyNameLength);
  return made || MayHold(sieve, it.position + kKeyName, std::max(length, kMaxKeyName));
}

bool MayMatchValue(const SearchSieve& sieve, const ValueKey& value) {
  if (value.edited || value.big_data) return true;
  if (MayHold(sieve, value.position, kValueName + value.name_length)) return true;
  return value.status == ValueStatus::kRead &&
         MayHold(sieve, value.data_position, value.data_length);
}

}  // namespace hivequarry
