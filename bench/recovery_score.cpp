// The recovery score: sound hives are damaged in fixed, seeded ways and opened, and what comes back
// is counted against what was there.
//
// usage: recovery_score [--hives] [--seed N] HIVE...
// Prints a table row per kind of damage (with --hives for each hive as well), then one per hive
// over all kinds.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "hive/cells.h"
#include "hive/image.h"
#include "hive/key_node.h"
#include "hive/key_tree.h"
#include "hive/subkey_list.h"
#include "hive/value_key.h"
#include "host/files.h"
#include "recovery/image_tree.h"
#include "recovery/item_values.h"
#include "tests/support/hive_builder.h"

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
  opened.hive = &TheHiveTable().slots[static_cast<size_t>(slot)];
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
  // Bytes at and behind `moved_from` of the sound hive stand `moved_by` further on; bytes in
  // [lost_from, lost_to) are gone.
  uint32_t moved_from = UINT32_MAX;
  int64_t moved_by = 0;
  uint32_t lost_from = 0, lost_to = 0;
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

Damaged CutFront(const Truth& truth, Random&) {
  constexpr uint32_t kCut = 64 * 1024;
  Damaged damaged;
  damaged.bytes = truth.bytes;
  const uint32_t cut = std::min<uint32_t>(kCut, truth.end / 2 / kPage * kPage);
  damaged.bytes.erase(damaged.bytes.begin(), damaged.bytes.begin() + cut);
  damaged.lost_to = cut;
  damaged.moved_from = cut;
  damaged.moved_by = -static_cast<int64_t>(cut);
  return damaged;
}

Damaged InsertBytes(const Truth& truth, Random& random) {
  Damaged damaged;
  damaged.bytes = truth.bytes;
  const uint32_t at = truth.end / 2 + Pick(random, 2048);
  damaged.bytes.insert(damaged.bytes.begin() + at, 8, 0xEE);
  damaged.moved_from = at;
  damaged.moved_by = 8;
  return damaged;
}

Damaged LoseBytes(const Truth& truth, Random& random) {
  Damaged damaged;
  damaged.bytes = truth.bytes;
  const uint32_t at = truth.end / 2 + Pick(random, 2048);
  damaged.bytes.erase(damaged.bytes.begin() + at, damaged.bytes.begin() + at + 8);
  damaged.lost_from = at;
  damaged.lost_to = at + 8;
  damaged.moved_from = at + 8;
  damaged.moved_by = -8;
  return damaged;
}

Damaged Truncate(const Truth& truth, Random&) {
  Damaged damaged;
  damaged.bytes = truth.bytes;
  const auto end = static_cast<uint32_t>(uint64_t{truth.end} * 60 / 100);
  damaged.bytes.resize(end);
  damaged.lost_from = end;
  damaged.lost_to = UINT32_MAX;
  return damaged;
}

// --- counting
// ---------------------------------------------------------------------------------------

struct Score {
  uint32_t keys = 0, shown = 0;         // keys whose own cell survived
  uint32_t with_parent = 0, right = 0;  // of those, the ones whose parent's place survived
  uint32_t wrong_name = 0, wrong_parent = 0;
  uint32_t values = 0, owned = 0, intact = 0, with_data = 0;

  void Add(const Score& other) {
    keys += other.keys, shown += other.shown, with_parent += other.with_parent;
    right += other.right, wrong_name += other.wrong_name, wrong_parent += other.wrong_parent;
    values += other.values, owned += other.owned, intact += other.intact;
    with_data += other.with_data;
  }
};

uint32_t MovedTo(const Damaged& damaged, uint32_t position) {
  if (position >= damaged.lost_from && position < damaged.lost_to) return kNoOffset;
  const int64_t moved = position + (position >= damaged.moved_from ? damaged.moved_by : 0);
  return moved < 0 || moved >= static_cast<int64_t>(damaged.bytes.size())
             ? kNoOffset
             : static_cast<uint32_t>(moved);
}

// Where a cell of the sound hive stands now with all its bytes; kNoOffset when a byte is lost.
uint32_t Survives(const Truth& truth, const Damaged& damaged, Extent cell) {
  const uint32_t from = MovedTo(damaged, cell.position);
  const uint32_t last = MovedTo(damaged, cell.position + cell.length - 1);
  if (from == kNoOffset || last == kNoOffset || last - from != cell.length - 1) return kNoOffset;
  const bool same = std::memcmp(truth.bytes.data() + cell.position, damaged.bytes.data() + from,
                                cell.length) == 0;
  return same ? from : kNoOffset;
}

void CountValues(const Truth& truth, const Damaged& damaged, const Opened& opened,
                 const TrueKey& key, uint32_t position, Score& score) {
  if (key.values.empty() || Survives(truth, damaged, key.value_list) == kNoOffset) return;
  std::vector<uint32_t> listed;
  if (ItemOfPosition(opened.tree, position) != kNoItem) {
    listed = ListedValues(*opened.hive, position);
  }
  for (const TrueValue& value : key.values) {
    uint32_t cell = Survives(truth, damaged, value.cell);
    if (cell == kNoOffset || cell < opened.hive->base_offset) continue;
    cell -= opened.hive->base_offset;
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

Score CountHive(const Truth& truth, const Damaged& damaged) {
  Score score;
  const Opened opened = OpenBytes(damaged.bytes);
  if (opened.hive == nullptr) return score;
  const uint32_t base = opened.hive->base_offset;
  for (const TrueKey& key : truth.keys) {
    const bool touched = std::find(damaged.touched.begin(), damaged.touched.end(), key.position) !=
                         damaged.touched.end();
    uint32_t position = touched ? MovedTo(damaged, key.position)
                                : Survives(truth, damaged, {key.position, key.length});
    if (position == kNoOffset || position < base) continue;
    position -= base;
    ++score.keys;
    const uint32_t item = ItemOfPosition(opened.tree, position);
    const bool shown = item != kNoItem;
    score.shown += shown;
    const uint32_t parent = key.parent == kNoOffset ? kNoOffset : MovedTo(damaged, key.parent);
    const bool parent_has_place = parent != kNoOffset && parent >= base;
    score.with_parent += parent_has_place;
    if (shown) {
      const KeyItem& it = opened.tree.items[item];
      const bool hangs = it.parent != kNoItem && IsKeyOrCopy(opened.tree, it.parent);
      const uint32_t under = hangs ? opened.tree.items[it.parent].position : kNoOffset;
      const bool right = parent_has_place && under == parent - base;
      score.right += right;
      score.wrong_parent += hangs && !right;
      const std::string name = item == 0 ? ReadKeyName(*opened.hive, position)
                                         : ItemName(*opened.hive, opened.tree, item);
      score.wrong_name += (it.marks & (kMarkNoName | kMarkHashName)) == 0 && name != key.name;
    }
    CountValues(truth, damaged, opened, key, position, score);
  }
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
                           {"8 bytes inserted", InsertBytes},
                           {"8 bytes lost", LoseBytes},
                           {"truncated to 60 %", Truncate}};

double Percent(uint32_t part, uint32_t whole) { return whole == 0 ? 100.0 : 100.0 * part / whole; }

void PrintHead() {
  std::printf(
      "| damage | keys left | shown | under right parent | wrong name | wrong parent | "
      "values left | at their key | data intact |\n|---|---:|---:|---:|---:|---:|---:|---:|"
      "---:|\n");
}

void PrintRow(const char* name, const Score& score) {
  std::printf("| %s | %u | %.2f %% | %.2f %% | %u | %u | %u | %.2f %% | %.2f %% |\n", name,
              score.keys, Percent(score.shown, score.keys), Percent(score.right, score.with_parent),
              score.wrong_name, score.wrong_parent, score.values,
              Percent(score.owned, score.values), Percent(score.intact, score.with_data));
}

}  // namespace
}  // namespace hivequarry

int main(int argc, char** argv) {
  using namespace hivequarry;
  bool per_hive = false;
  uint32_t seed = 20260101;
  std::vector<std::pair<std::string, Truth>> truths;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--hives") == 0) {
      per_hive = true;
    } else if (std::strcmp(argv[i], "--seed") == 0 && i + 1 < argc) {
      seed = static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10));
    } else {
      const std::string name = argv[i];
      truths.emplace_back(name.substr(name.find_last_of('/') + 1), ReadTruth(name));
    }
  }
  std::map<std::string, Score> hives;
  PrintHead();
  for (const Mode& mode : kModes) {
    Score total;
    for (const auto& [name, truth] : truths) {
      Random random(seed);
      const Score score = CountHive(truth, mode.damage(truth, random));
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
