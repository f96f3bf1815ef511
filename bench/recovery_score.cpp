// The recovery score: sound hives are damaged in fixed, seeded ways and opened, and what comes back
// is counted against what was there.
//
// usage: recovery_score [--hives] [--seed N] [--only TEXT] HIVE...
// Prints a table row per kind of damage (with --hives for each hive as well), then one per hive
// over all kinds.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "hive/file_place.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/keys.h"
#include "hive/opening.h"
#include "hive/subkeys.h"
#include "hive/values.h"
#include "host/files.h"
#include "records/cell.h"
#include "recovery/image_tree.h"
#include "tests/support/hive_builder.h"
#include "words/item_values.h"

namespace hivequarry {
namespace {

using testing::Bytes;

constexpr uint32_t kPage = 4096;

// --- what a sound hive holds
// ------------------------------------------------------------------------

struct Extent {
  uint32_t position;
  uint32_t length;
};

struct TrueValue {
  Extent cell;
  std::vector<Extent> data;  // cells that hold its data, none when inline
  std::vector<uint8_t> bytes;
};

struct TrueKey {
  uint32_t position = 0;
  uint32_t length = 0;
  uint32_t parent = kNoOffset;
  std::string name;
  Extent value_list{0, 0};
  std::vector<TrueValue> values;
};

struct Truth {
  Bytes bytes;
  uint32_t end = 0;  // of the hive's own blocks; foreign ones may follow
  std::vector<uint32_t> bins;
  uint32_t root = 0;
  std::vector<TrueKey> keys;
  std::vector<uint32_t> lists;  // list cells
};

Bytes ReadWholeFile(const std::string& name) {
  Bytes bytes;
  int error = 0;
  std::FILE* file = OpenFile(name, "rb", error);
  if (file == nullptr) return bytes;
  bytes.resize(static_cast<size_t>(FileSize(file)));
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
  std::fclose(file);
  return bytes;
}

struct Opened {
  HiveImage* hive = nullptr;
  KeyTree tree;
};

Opened OpenBytes(const Bytes& bytes) {
  ResetHiveTable();
  const testing::TempFile file{std::span<const uint8_t>(bytes)};
  Opened opened;
  const int slot = OpenHive(file.name());
  if (slot < 0) return opened;
  opened.hive = &HiveOfSlot(slot);
  BuildImageTree(*opened.hive, BuildOptions(), opened.tree);
  return opened;
}

Extent CellAt(const HiveImage& hive, uint32_t position) {
  return {position, CellLength(ReadU32(hive, position))};
}

TrueValue ReadTrueValue(const HiveImage& hive, uint32_t position) {
  TrueValue value;
  value.cell = CellAt(hive, position);
  const ValueKey record =
      ReadValueKey(hive, position, ValueRead::kData, kMaxValueData, &value.bytes);
  if (!record.inline_data) value.data.push_back(CellAt(hive, record.data_position - 4));
  if (record.big_data) {
    const uint32_t list = ReadOffset(hive, record.data_position + 4);
    value.data.push_back(CellAt(hive, list));
    for (uint32_t done = 0, i = 0; done < record.data_length; done += kBigDataSegment, ++i) {
      value.data.push_back(CellAt(hive, ReadOffset(hive, list + 4 + 4 * i)));
    }
  }
  return value;
}

Truth ReadTruth(const std::string& name) {
  Truth truth;
  truth.bytes = ReadWholeFile(name);
  const Opened opened = OpenBytes(truth.bytes);
  const HiveImage& hive = *opened.hive;
  truth.root = hive.root_position;
  for (uint32_t p = kBaseBlockSize; p + 32 <= truth.bytes.size();) {
    const uint32_t size = testing::GetU32(truth.bytes, p + 8);
    const bool own = testing::GetU32(truth.bytes, p) == kBinSignature &&
                     testing::GetU32(truth.bytes, p + 4) == p - kBaseBlockSize;
    if (!own || size == 0) break;
    truth.bins.push_back(p);
    p += size;
    truth.end = std::min<uint32_t>(p, static_cast<uint32_t>(truth.bytes.size()));
  }
  for (uint32_t item = 0; item < opened.tree.items.size(); ++item) {
    const KeyItem& it = opened.tree.items[item];
    if (!it.connected) continue;
    TrueKey key;
    key.position = it.position;
    key.length = CellLength(ReadU32(hive, it.position));
    key.name = item == 0 ? ReadKeyName(hive, it.position) : ItemName(hive, opened.tree, item);
    if (it.parent != kNoItem) key.parent = opened.tree.items[it.parent].position;
    uint32_t budget = UINT32_MAX;
    for (const uint32_t value : ListedValues(hive, it.position)) {
      key.values.push_back(ReadTrueValue(hive, value));
    }
    if (!key.values.empty()) {
      key.value_list = CellAt(hive, ReadOffset(hive, it.position + kKeyValueList));
    }
    const uint32_t list = ReadOffset(hive, it.position + kKeySubkeyList);
    if (ReadU32(hive, it.position + kKeySubkeyCount) != 0) {
      std::vector<SubkeyEntry> entries;
      ReadSubkeyList(hive, list, budget, entries);
      truth.lists.push_back(list);
      for (const SubkeyEntry& entry : entries) truth.lists.push_back(entry.list);
    }
    truth.keys.push_back(std::move(key));
  }
  std::sort(truth.lists.begin(), truth.lists.end());
  truth.lists.erase(std::unique(truth.lists.begin(), truth.lists.end()), truth.lists.end());
  return truth;
}

// --- damage
// -----------------------------------------------------------------------------------------

struct Damaged {
  Bytes bytes;
  // Where each byte of the sound hive is now, kNoOffset for lost ones; empty: where it was.
  std::vector<uint32_t> place;
  // True where a cell whose bytes are apart can be had whole again: they all are there.
  bool scattered = false;
  // Keys that were damaged on purpose in a field, and so differ though their cell survived.
  std::vector<uint32_t> touched;
};

using Random = std::mt19937;

uint32_t Pick(Random& random, size_t count) {
  return static_cast<uint32_t>(random() % std::max<size_t>(count, 1));
}

Damaged ZeroPages(const Truth& truth, Random& random) {
  Damaged damaged;
  damaged.bytes = truth.bytes;
  const uint32_t pages = (truth.end - kBaseBlockSize) / kPage;
  for (uint32_t i = 0; i < std::max(pages / 64, 1U); ++i) {
    // Not the root's page: that is a mode of its own kind.
    const uint32_t page = kBaseBlockSize + kPage * (1 + Pick(random, std::max(pages, 2U) - 1));
    if (page + kPage > truth.end) continue;
    std::memset(damaged.bytes.data() + page, 0, kPage);
  }
  return damaged;
}

// Every 50th key but the root.
template <typename Change>
Damaged ChangeKeys(const Truth& truth, Random& random, const Change& change) {
  Damaged damaged;
  damaged.bytes = truth.bytes;
  const size_t wanted = std::max<size_t>(truth.keys.size() / 50, truth.keys.size() > 1 ? 1 : 0);
  for (size_t i = 0; i < wanted; ++i) {
    const TrueKey& key = truth.keys[1 + Pick(random, truth.keys.size() - 1)];
    change(damaged.bytes, key);
    damaged.touched.push_back(key.position);
  }
  return damaged;
}

Damaged FlipBits(const Truth& truth, Random& random) {
  return ChangeKeys(truth, random, [&random](Bytes& bytes, const TrueKey& key) {
    constexpr uint32_t kFields[] = {4, kKeyParent, kKeySubkeyList};
    const uint32_t which = Pick(random, 3);
    const uint32_t bit = Pick(random, which == 0 ? 16 : 32);
    bytes[key.position + kFields[which] + bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
  });
}

Damaged FreeKeys(const Truth& truth, Random& random) {
  return ChangeKeys(truth, random, [](Bytes& bytes, const TrueKey& key) {
    testing::PutU32(bytes, key.position, key.length);
  });
}

void Overwrite(Bytes& bytes, uint32_t position, Random& random) {
  const uint32_t length = CellLength(testing::GetU32(bytes, position));
  for (uint32_t i = 4; i < length && position + i < bytes.size(); ++i) {
    bytes[position + i] = static_cast<uint8_t>(random());
  }
}

Damaged OverwriteRootList(const Truth& truth, Random& random) {
  Damaged damaged;
  damaged.bytes = truth.bytes;
  const uint32_t list = testing::GetU32(truth.bytes, truth.root + kKeySubkeyList);
  if (list != kNoOffset) Overwrite(damaged.bytes, list + kBaseBlockSize, random);
  return damaged;
}

Damaged OverwriteBinLists(const Truth& truth, Random& random) {
  Damaged damaged;
  damaged.bytes = truth.bytes;
  if (truth.lists.empty()) return damaged;
  const uint32_t chosen = truth.lists[Pick(random, truth.lists.size())];
  uint32_t bin = kBaseBlockSize;
  while (bin + testing::GetU32(truth.bytes, bin + 8) <= chosen) {
    bin += testing::GetU32(truth.bytes, bin + 8);
  }
  const uint32_t end = bin + testing::GetU32(truth.bytes, bin + 8);
  for (const uint32_t list : truth.lists) {
    if (list >= bin && list < end) Overwrite(damaged.bytes, list, random);
  }
  return damaged;
}

Damaged WipeBaseBlock(const Truth& truth, Random&) {
  Damaged damaged;
  damaged.bytes = truth.bytes;
  std::memset(damaged.bytes.data(), 0, kBaseBlockSize);
  return damaged;
}

// Every byte is where it was, to be moved.
Damaged Movable(const Truth& truth) {
  Damaged damaged;
  damaged.bytes = truth.bytes;
  damaged.place.resize(truth.bytes.size());
  std::iota(damaged.place.begin(), damaged.place.end(), 0U);
  return damaged;
}

void Insert(Damaged& damaged, uint32_t at, const Bytes& bytes) {
  damaged.bytes.insert(damaged.bytes.begin() + at, bytes.begin(), bytes.end());
  for (uint32_t& place : damaged.place) {
    if (place != kNoOffset && place >= at) place += static_cast<uint32_t>(bytes.size());
  }
}

void Lose(Damaged& damaged, uint32_t at, uint32_t count) {
  count = std::min<uint32_t>(count, static_cast<uint32_t>(damaged.bytes.size()) - at);
  damaged.bytes.erase(damaged.bytes.begin() + at, damaged.bytes.begin() + at + count);
  for (uint32_t& place : damaged.place) {
    if (place == kNoOffset || place < at) continue;
    place = place < at + count ? kNoOffset : place - count;
  }
}

// The same from a hive without its base block.
void LoseBaseBlock(Damaged& damaged) { Lose(damaged, 0, kBaseBlockSize); }

Damaged CutFront(const Truth& truth, Random&) {
  constexpr uint32_t kCut = 64 * 1024;
  Damaged damaged = Movable(truth);
  Lose(damaged, 0, std::min<uint32_t>(kCut, truth.end / 2 / kPage * kPage));
  return damaged;
}

// Somewhere among the hive's blocks.
uint32_t AnyPlace(const Truth& truth, Random& random) {
  return kBaseBlockSize + Pick(random, truth.end - kBaseBlockSize);
}

template <uint32_t kCount, bool kBaseBlock>
Damaged InsertBytes(const Truth& truth, Random& random) {
  Damaged damaged = Movable(truth);
  Bytes bytes(kCount);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
  Insert(damaged, AnyPlace(truth, random), bytes);
  if (!kBaseBlock) LoseBaseBlock(damaged);
  return damaged;
}

template <uint32_t kCount, bool kBaseBlock>
Damaged LoseBytes(const Truth& truth, Random& random) {
  Damaged damaged = Movable(truth);
  Lose(damaged, AnyPlace(truth, random), kCount);
  if (!kBaseBlock) LoseBaseBlock(damaged);
  return damaged;
}

// Three places in one file.
Damaged ChangeThrice(const Truth& truth, Random& random) {
  Damaged damaged = Movable(truth);
  for (const uint32_t count : {3U, 5U, 40U}) {
    const uint32_t at = AnyPlace(truth, random);
    if (random() % 2 == 0) {
      Insert(damaged, at, Bytes(count, 0xEE));
    } else {
      Lose(damaged, at, count);
    }
  }
  return damaged;
}

template <uint32_t kField, uint32_t kBytes>
Damaged FlipHeader(const Truth& truth, Random& random) {
  Damaged damaged;
  damaged.bytes = truth.bytes;
  const uint32_t bin = truth.bins[Pick(random, truth.bins.size())];
  const uint32_t bit = Pick(random, kBytes * 8);
  damaged.bytes[bin + kField + bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
  return damaged;
}

uint32_t PageCount(const Truth& truth) { return (truth.end - kBaseBlockSize) / kPage; }
uint32_t AnyPage(const Truth& truth, Random& random) {
  return kBaseBlockSize + kPage * Pick(random, PageCount(truth));
}

template <uint32_t kTimes>
Damaged SwapPages(const Truth& truth, Random& random) {
  Damaged damaged = Movable(truth);
  damaged.scattered = true;
  std::vector<uint32_t> at(PageCount(truth));  // by page of the sound hive
  for (uint32_t i = 0; i < at.size(); ++i) at[i] = kBaseBlockSize + kPage * i;
  for (uint32_t i = 0; i < kTimes; ++i) {
    const uint32_t one = Pick(random, at.size());
    const uint32_t other = Pick(random, at.size());
    std::swap_ranges(damaged.bytes.begin() + at[one], damaged.bytes.begin() + at[one] + kPage,
                     damaged.bytes.begin() + at[other]);
    std::swap(at[one], at[other]);
  }
  for (uint32_t i = 0; i < at.size(); ++i) {
    const uint32_t page = kBaseBlockSize + kPage * i;
    for (uint32_t j = 0; j < kPage; ++j) damaged.place[page + j] = at[i] + j;
  }
  return damaged;
}

Damaged CopyPageOver(const Truth& truth, Random& random) {
  Damaged damaged = Movable(truth);
  const uint32_t from = AnyPage(truth, random);
  const uint32_t to = AnyPage(truth, random);
  if (from == to) return damaged;
  std::copy_n(truth.bytes.begin() + from, kPage, damaged.bytes.begin() + to);
  std::fill_n(damaged.place.begin() + to, kPage, kNoOffset);
  return damaged;
}

Damaged InsertPage(const Truth& truth, Random& random) {
  Damaged damaged = Movable(truth);
  const uint32_t from = AnyPage(truth, random);
  const uint32_t to = AnyPage(truth, random);
  const Bytes page(truth.bytes.begin() + from, truth.bytes.begin() + from + kPage);
  // Of two that follow each other the first is as good as the second.
  Insert(damaged, to == from ? from + kPage : to, page);
  return damaged;
}

Damaged CopyAsText(const Truth& truth, Random&) {
  Damaged damaged;
  damaged.scattered = true;
  damaged.place.reserve(truth.bytes.size());
  for (const uint8_t byte : truth.bytes) {
    if (byte == '\n') damaged.bytes.push_back('\r');
    damaged.place.push_back(static_cast<uint32_t>(damaged.bytes.size()));
    damaged.bytes.push_back(byte);
  }
  return damaged;
}

Damaged Truncate(const Truth& truth, Random&) {
  Damaged damaged = Movable(truth);
  const auto end = static_cast<uint32_t>(uint64_t{truth.end} * 60 / 100);
  Lose(damaged, end, UINT32_MAX);
  return damaged;
}

// --- counting
// ---------------------------------------------------------------------------------------

struct Score {
  uint32_t keys = 0, shown = 0;            // keys whose own cell survived
  uint32_t with_parent = 0, right = 0;     // of those, the ones whose parent's place survived
  uint32_t with_path = 0, right_path = 0;  // those all of whose ancestors survived too
  uint32_t wrong_name = 0, wrong_parent = 0;
  uint32_t values = 0, owned = 0, intact = 0, with_data = 0;

  void Add(const Score& other) {
    keys += other.keys, shown += other.shown, with_parent += other.with_parent;
    with_path += other.with_path, right_path += other.right_path;
    right += other.right, wrong_name += other.wrong_name, wrong_parent += other.wrong_parent;
    values += other.values, owned += other.owned, intact += other.intact;
    with_data += other.with_data;
  }
};

uint32_t MovedTo(const Damaged& damaged, uint32_t position) {
  const uint32_t place = damaged.place.empty()             ? position
                         : position < damaged.place.size() ? damaged.place[position]
                                                           : kNoOffset;
  return place < damaged.bytes.size() ? place : kNoOffset;
}

// Where a cell of the sound hive is now with all its bytes; kNoOffset when a byte is lost.
uint32_t Survives(const Truth& truth, const Damaged& damaged, Extent cell) {
  const uint32_t from = MovedTo(damaged, cell.position);
  if (from == kNoOffset) return kNoOffset;
  for (uint32_t i = 0; i < cell.length; ++i) {
    const uint32_t at = MovedTo(damaged, cell.position + i);
    const bool there = at != kNoOffset && (damaged.scattered || at == from + i) &&
                       damaged.bytes[at] == truth.bytes[cell.position + i];
    if (!there) return kNoOffset;
  }
  return from;
}

// The image position of a place in the damaged file; kNoOffset for none.
uint32_t InImage(const Opened& opened, uint32_t place) {
  if (place == kNoOffset || place < opened.hive->base_offset) return kNoOffset;
  return PositionOfPlace(*opened.hive, place - opened.hive->base_offset);
}

void CountValues(const Truth& truth, const Damaged& damaged, const Opened& opened,
                 const TrueKey& key, uint32_t position, Score& score) {
  if (key.values.empty() || Survives(truth, damaged, key.value_list) == kNoOffset) return;
  std::vector<uint32_t> listed;
  if (ItemOfPosition(opened.tree, position) != kNoItem) {
    listed = ListedValues(*opened.hive, position);
  }
  for (const TrueValue& value : key.values) {
    const uint32_t place = Survives(truth, damaged, value.cell);
    if (place == kNoOffset || place < opened.hive->base_offset) continue;
    const uint32_t cell = InImage(opened, place);
    ++score.values;
    const bool owned = std::find(listed.begin(), listed.end(), cell) != listed.end();
    score.owned += owned;
    const bool data = std::all_of(value.data.begin(), value.data.end(), [&](Extent extent) {
      return Survives(truth, damaged, extent) != kNoOffset;
    });
    if (!data) continue;
    ++score.with_data;
    std::vector<uint8_t> bytes;
    ReadValueKey(*opened.hive, cell, ValueRead::kData, kMaxValueData, &bytes);
    score.intact += owned && bytes == value.bytes;
  }
}

// What became of a key: by key of the truth.
struct Fate {
  bool left = false;        // its cell is there
  bool has_parent = false;  // the place of its parent is
  bool under = false;       // it hangs there
};

// Keys all of whose ancestors are left too, and those that hang right all the way up.
void CountPaths(const Truth& truth, const std::vector<Fate>& fates, Score& score) {
  std::map<uint32_t, uint32_t> by_position;
  for (uint32_t i = 0; i < truth.keys.size(); ++i) by_position[truth.keys[i].position] = i;
  for (uint32_t i = 0; i < truth.keys.size(); ++i) {
    bool left = true;
    bool right = true;
    for (uint32_t at = i; left; at = by_position.at(truth.keys[at].parent)) {
      left = fates[at].left;
      if (truth.keys[at].parent == kNoOffset) break;
      right = right && fates[at].under;
    }
    score.with_path += left;
    score.right_path += left && right;
  }
}

Score CountHive(const Truth& truth, const Damaged& damaged) {
  Score score;
  const Opened opened = OpenBytes(damaged.bytes);
  if (opened.hive == nullptr) return score;
  const std::set<uint32_t> touched(damaged.touched.begin(), damaged.touched.end());
  std::vector<Fate> fates(truth.keys.size());
  for (size_t i = 0; i < truth.keys.size(); ++i) {
    const TrueKey& key = truth.keys[i];
    const uint32_t place = touched.contains(key.position)
                               ? MovedTo(damaged, key.position)
                               : Survives(truth, damaged, {key.position, key.length});
    if (place == kNoOffset || place < opened.hive->base_offset) continue;
    const uint32_t position = InImage(opened, place);
    ++score.keys;
    fates[i].left = true;
    const uint32_t item = ItemOfPosition(opened.tree, position);
    const bool shown = item != kNoItem;
    score.shown += shown;
    const uint32_t parent =
        key.parent == kNoOffset ? kNoOffset : InImage(opened, MovedTo(damaged, key.parent));
    fates[i].has_parent = parent != kNoOffset;
    score.with_parent += fates[i].has_parent;
    if (shown) {
      const KeyItem& it = opened.tree.items[item];
      const bool hangs = it.parent != kNoItem && IsKeyOrCopy(opened.tree, it.parent);
      const uint32_t under = hangs ? opened.tree.items[it.parent].position : kNoOffset;
      fates[i].under = fates[i].has_parent && under == parent;
      score.right += fates[i].under;
      score.wrong_parent += hangs && !fates[i].under;
      const std::string name = item == 0 ? ReadKeyName(*opened.hive, position)
                                         : ItemName(*opened.hive, opened.tree, item);
      score.wrong_name += (it.marks & (kMarkNoName | kMarkHashName)) == 0 && name != key.name;
    }
    CountValues(truth, damaged, opened, key, position, score);
  }
  CountPaths(truth, fates, score);
  return score;
}

// --- the table
// --------------------------------------------------------------------------------------

struct Mode {
  const char* name;
  Damaged (*damage)(const Truth&, Random&);
};

constexpr Mode kModes[] = {{"page: 1 in 64 zeroed", ZeroPages},
                           {"bit: 1 key in 50", FlipBits},
                           {"freed: 1 key in 50", FreeKeys},
                           {"root list overwritten", OverwriteRootList},
                           {"lists of one bin", OverwriteBinLists},
                           {"base block wiped", WipeBaseBlock},
                           {"first 64 KiB cut", CutFront},
                           {"truncated to 60 %", Truncate},
                           {"bit: a block's signature", FlipHeader<0, 4>},
                           {"bit: a block's own offset", FlipHeader<4, 4>},
                           {"bit: a block's size", FlipHeader<8, 4>},
                           {"two pages swapped", SwapPages<1>},
                           {"pages swapped 20 times", SwapPages<20>},
                           {"a page copied over another", CopyPageOver},
                           {"a page's copy inserted", InsertPage},
                           {"1 byte inserted", InsertBytes<1, true>},
                           {"3 bytes inserted", InsertBytes<3, true>},
                           {"5 bytes lost", LoseBytes<5, true>},
                           {"8 bytes inserted", InsertBytes<8, true>},
                           {"8 bytes lost", LoseBytes<8, true>},
                           {"12 bytes inserted", InsertBytes<12, true>},
                           {"1000 bytes inserted", InsertBytes<1000, true>},
                           {"1000 bytes lost", LoseBytes<1000, true>},
                           {"no base block, 3 bytes inserted", InsertBytes<3, false>},
                           {"no base block, 5 bytes lost", LoseBytes<5, false>},
                           {"no base block, 1000 inserted", InsertBytes<1000, false>},
                           {"changed in three places", ChangeThrice},
                           {"copied as text", CopyAsText}};

double Percent(uint32_t part, uint32_t whole) { return whole == 0 ? 100.0 : 100.0 * part / whole; }

void PrintHead() {
  std::printf(
      "| damage | keys left | shown | under right parent | whole path right | wrong name | wrong "
      "parent | "
      "values left | at their key | data intact |\n|---|---:|---:|---:|---:|---:|---:|---:|"
      "---:|---:|\n");
}

void PrintRow(const char* name, const Score& score) {
  std::printf("| %s | %u | %.2f %% | %.2f %% | %.2f %% | %u | %u | %u | %.2f %% | %.2f %% |\n",
              name, score.keys, Percent(score.shown, score.keys),
              Percent(score.right, score.with_parent), Percent(score.right_path, score.with_path),
              score.wrong_name, score.wrong_parent, score.values,
              Percent(score.owned, score.values), Percent(score.intact, score.with_data));
}

}  // namespace
}  // namespace hivequarry

int main(int argc, char** argv) {
  using namespace hivequarry;
  bool per_hive = false;
  uint32_t seed = 20260101;
  std::string only;  // part of a damage's name
  std::vector<std::pair<std::string, Truth>> truths;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--hives") == 0) {
      per_hive = true;
    } else if (std::strcmp(argv[i], "--seed") == 0 && i + 1 < argc) {
      seed = static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10));
    } else if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc) {
      only = argv[++i];
    } else {
      const std::string name = argv[i];
      truths.emplace_back(name.substr(name.find_last_of('/') + 1), ReadTruth(name));
    }
  }
  std::map<std::string, Score> hives;
  PrintHead();
  for (const Mode& mode : kModes) {
    if (std::string(mode.name).find(only) == std::string::npos) continue;
    Score total;
    for (const auto& [name, truth] : truths) {
      Random random(seed);
      const Damaged damaged = mode.damage(truth, random);
      const Score score = CountHive(truth, damaged);
      if (per_hive) PrintRow((std::string(mode.name) + ", " + name).c_str(), score);
      total.Add(score);
      hives[name].Add(score);
    }
    PrintRow(mode.name, total);
  }
  std::printf("\n");
  PrintHead();
  for (const auto& [name, score] : hives) PrintRow(name.c_str(), score);
  return 0;
}
