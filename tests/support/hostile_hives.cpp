#include "tests/support/hostile_hives.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "tests/support/report_hives.h"

namespace hivequarry::testing {
namespace {

constexpr double kMegabyte = 1024 * 1024;

uint32_t HostileCount(double megabytes, uint32_t bytes_each) {
  return std::max(4U, static_cast<uint32_t>(megabytes * kMegabyte / bytes_each));
}

// Cells written one by one: a root with a flat list of keys.
struct FlatHive {
  CellWriter writer;
  uint32_t root = 0;
  std::vector<uint32_t> keys;
};

uint32_t AddKey(FlatHive& flat, std::string_view name) {
  const uint32_t key = AddKeyCell(flat.writer, TextBytes(name), 0x20, kDefaultTime);
  PutU32(flat.writer.bytes, key + field::kKeyParent, flat.root - kDataArea);
  flat.keys.push_back(key);
  return key;
}

uint32_t AddValue(FlatHive& flat, std::string_view name, std::span<const uint8_t> data) {
  const uint32_t value =
      AddValueCell(flat.writer, TextBytes(name), 1, 3, static_cast<uint32_t>(data.size()));
  AddValueData(flat.writer, value, data);
  return value;
}

// A cell with the entries of a value list, with room for `room` of them.
uint32_t AddValueList(FlatHive& flat, std::span<const uint32_t> values, uint32_t room) {
  const uint32_t list = AddCell(flat.writer, 4 * std::max(room, 1U));
  for (size_t i = 0; i < values.size(); ++i) {
    PutU32(flat.writer.bytes, list + 4 + 4 * static_cast<uint32_t>(i), values[i] - kDataArea);
  }
  return list;
}

void GiveValues(FlatHive& flat, uint32_t key, uint32_t list, uint32_t count) {
  PutU32(flat.writer.bytes, key + field::kKeyValues, count);
  PutU32(flat.writer.bytes, key + field::kKeyValueList, list - kDataArea);
  // The longest value name and data allow anything, so that no rule can lean on them.
  PutU32(flat.writer.bytes, key + 64, 0xFFFF);
  PutU32(flat.writer.bytes, key + 68, 0x500000);
}

FlatHive BeginFlat() {
  FlatHive flat;
  flat.root = AddKeyCell(flat.writer, TextBytes("ROOT"), 0x2C, kDefaultTime);
  return flat;
}

// The bystander comes last: after all that might hide it.
void AddBystander(FlatHive& flat) {
  const uint32_t key = AddKey(flat, kBystanderKey);
  const uint32_t value = AddValue(flat, kBystanderValue, TextBytes("\1\2\3\4\5\6\7\10"));
  GiveValues(flat, key, AddValueList(flat, std::span(&value, 1), 1), 1);
}

Bytes EndFlat(FlatHive& flat) {
  AddBystander(flat);
  Bytes& bytes = flat.writer.bytes;
  std::vector<uint32_t> lists;
  const auto count = static_cast<uint32_t>(flat.keys.size());
  const uint32_t list = AddListCell(flat.writer, List::kRiOfLi, count, 1000, &lists);
  PutU32(bytes, flat.root + field::kKeySubkeys, count);
  PutU32(bytes, flat.root + field::kKeyList, list - kDataArea);
  PutU32(bytes, flat.root + 56, 0xFFFF);  // longest subkey name
  for (uint32_t i = 0; i < count; ++i) {
    PutU32(bytes, lists[i / 1000] + field::kListEntries + 4 * (i % 1000), flat.keys[i] - kDataArea);
  }
  FinishHive(flat.writer, {});
  return std::move(bytes);
}

// --- lists and data that many name

// Half the file is one value list with its values, the other half keys that all name that list.
Bytes SharedValueList(double megabytes) {
  FlatHive flat = BeginFlat();
  std::vector<uint32_t> values;
  for (uint32_t i = HostileCount(megabytes / 2, 36); i > 0; --i)
    values.push_back(AddValue(flat, "v", {}));
  const auto count = static_cast<uint32_t>(values.size());
  const uint32_t list = AddValueList(flat, values, count);
  for (uint32_t i = HostileCount(megabytes / 2, 92); i > 0; --i) {
    GiveValues(flat, AddKey(flat, "k" + std::to_string(i)), list, count);
  }
  return EndFlat(flat);
}

// Half the file is the data of one value, the other half values whose data are those.
Bytes SharedData(double megabytes) {
  FlatHive flat = BeginFlat();
  const Bytes data(std::min<size_t>(HostileCount(megabytes / 2, 1), 0x4F0000) / 16344 * 16344, 'd');
  const uint32_t first = AddValue(flat, "first", data);
  const uint32_t cell = GetU32(flat.writer.bytes, first + field::kValueData);
  std::vector<uint32_t> values{first};
  for (uint32_t i = HostileCount(megabytes / 2, 36); i > 0; --i) {
    const uint32_t value =
        AddValueCell(flat.writer, TextBytes("v"), 1, 3, static_cast<uint32_t>(data.size()));
    PutU32(flat.writer.bytes, value + field::kValueData, cell);
    values.push_back(value);
  }
  const auto count = static_cast<uint32_t>(values.size());
  GiveValues(flat, AddKey(flat, "Sharing"), AddValueList(flat, values, count), count);
  return EndFlat(flat);
}

// Keys whose value count and list lead into zeros up to the hive's end.
Bytes WrongValueCounts(double megabytes) {
  FlatHive flat = BeginFlat();
  for (uint32_t i = HostileCount(megabytes, 92); i > 0; --i) {
    const uint32_t key = AddKey(flat, "k" + std::to_string(i));
    GiveValues(flat, key, key, 0x7FFFFFFF);
  }
  return EndFlat(flat);
}

// Value lists whose cells go on for long after their count, with offsets of freed values.
Bytes LongListRests(double megabytes) {
  FlatHive flat = BeginFlat();
  const uint32_t live = AddValue(flat, "v", {});
  std::vector<uint32_t> freed;
  for (uint32_t i = HostileCount(megabytes / 2, 40); i > 0; --i) {
    freed.push_back(AddValue(flat, "gone" + std::to_string(i % 10), {}));
    Bytes& bytes = flat.writer.bytes;
    PutU32(bytes, freed.back(), 0U - GetU32(bytes, freed.back()));
  }
  const uint32_t room = HostileCount(megabytes / 2, 4) / 64;
  std::vector<uint32_t> entries{live};
  for (uint32_t i = 0; i + 1 < room; ++i) entries.push_back(freed[i % freed.size()]);
  for (uint32_t i = 0; i < 64; ++i) {
    const uint32_t list = AddValueList(flat, entries, room);
    GiveValues(flat, AddKey(flat, "k" + std::to_string(i)), list, 1);
  }
  return EndFlat(flat);
}

// --- names

// "Keys" at every eighth byte whose names reach over the ones after them.
Bytes OverlappingKeys(double megabytes) {
  FlatHive flat = BeginFlat();
  const uint32_t size = std::min(HostileCount(megabytes, 1), 0x4000000U) / 8 * 8;
  const uint32_t cell = AddCell(flat.writer, size);
  Bytes& bytes = flat.writer.bytes;
  for (uint32_t at = cell + 8; at + 90 < cell + size; at += 88) {
    PutU32(bytes, at, 0U - 88);
    PutU16(bytes, at + 4, 0x6B6E);
    PutU16(bytes, at + 6, 0x20);
    PutU64(bytes, at + 8, kDefaultTime);
    PutU32(bytes, at + field::kKeyParent, flat.root - kDataArea);
    PutU16(bytes, at + field::kKeyNameLength, 0x3F00);
  }
  PutU32(bytes, cell, size + 8);  // free
  return EndFlat(flat);
}

// A chain of keys with names outside every single-byte code page.
Bytes DeepWideNames(double megabytes) {
  HiveBuilder hive;
  hive.Key(kBystanderKey).Binary(kBystanderValue, 8);
  KeyRef key = hive.Root();
  for (uint32_t i = HostileCount(megabytes, 128); i > 0; --i)
    key = key.NewKey("\u65E5\u672C\u8A9E");
  return hive.Build().bytes;
}

// A stretch without any header in which all keys have one name.
Bytes NamesakesInAFragment(double megabytes) {
  HiveBuilder hive;
  hive.Key(kBystanderKey).Binary(kBystanderValue, 8);
  KeyRef parent = hive.Key("Parent").KeepOrder().ListStyle(List::kRiOfLh, 500);
  for (uint32_t i = HostileCount(megabytes, 96); i > 0; --i) parent.NewKey("same");
  BuiltHive built = hive.Build();
  built.DropBaseBlock();
  for (uint32_t bin = 0; bin < built.BinCount(); ++bin) built.Zero(built.BinPosition(bin), 32);
  return built.bytes;
}

// --- deleted records

// Freed keys, each the parent of the next.
Bytes FreedChain(double megabytes) {
  HiveBuilder hive;
  hive.Key(kBystanderKey).Binary(kBystanderValue, 8);
  hive.Key("Top");
  KeyRef key = hive.Key("Top").NewKey("First");
  std::vector<KeyRef> chain{key};
  for (uint32_t i = HostileCount(megabytes, 104); i > 0; --i) {
    key = key.NewKey("Next" + std::to_string(i % 10));
    chain.push_back(key);
  }
  BuiltHive built = hive.Build();
  built.Unlink("Top\\First");
  for (const KeyRef& freed : chain) built.Free(built.PositionOf(freed));
  return built.bytes;
}

void FreeCell(Bytes& bytes, uint32_t cell) { PutU32(bytes, cell, 0U - GetU32(bytes, cell)); }

// Not in the list of the root.
uint32_t AddFreedKey(FlatHive& flat, std::string_view name, uint32_t parent) {
  const uint32_t key = AddKeyCell(flat.writer, TextBytes(name), 0x20, kDefaultTime);
  PutU32(flat.writer.bytes, key + field::kKeyParent, parent - kDataArea);
  FreeCell(flat.writer.bytes, key);
  return key;
}

// Freed keys below the end of a chain of freed keys, which is as deep as a path has room for.
Bytes FreedComb(double megabytes) {
  FlatHive flat = BeginFlat();
  uint32_t parent = flat.root;
  for (uint32_t i = 0; i < 500; ++i) parent = AddFreedKey(flat, "c", parent);
  for (uint32_t i = HostileCount(megabytes, 88); i > 0; --i) AddFreedKey(flat, "t", parent);
  return EndFlat(flat);
}

// Freed keys that all name one long list of freed values.
Bytes FreedSharedList(double megabytes) {
  FlatHive flat = BeginFlat();
  std::vector<uint32_t> values;
  for (uint32_t i = HostileCount(megabytes / 2, 36); i > 0; --i) {
    values.push_back(AddValue(flat, "v", {}));
    FreeCell(flat.writer.bytes, values.back());
  }
  const auto count = static_cast<uint32_t>(values.size());
  const uint32_t list = AddValueList(flat, values, count);
  for (uint32_t i = HostileCount(megabytes / 2, 88); i > 0; --i) {
    GiveValues(flat, AddFreedKey(flat, "k", flat.root), list, count);
  }
  return EndFlat(flat);
}

// Freed values that all name the same data, just short enough to be read whatever was read before.
Bytes FreedSharedData(double megabytes) {
  FlatHive flat = BeginFlat();
  const uint32_t first = AddValue(flat, "first", Bytes(4096, 'd'));
  const uint32_t cell = GetU32(flat.writer.bytes, first + field::kValueData);
  for (uint32_t i = HostileCount(megabytes, 32); i > 0; --i) {
    const uint32_t value = AddValueCell(flat.writer, TextBytes("v"), 1, 3, 4096);
    PutU32(flat.writer.bytes, value + field::kValueData, cell);
    FreeCell(flat.writer.bytes, value);
  }
  FreeCell(flat.writer.bytes, cell + kDataArea);
  FreeCell(flat.writer.bytes, first);
  return EndFlat(flat);
}

// Freed keys whose lists and parents lead nowhere, among freed values at every place to which a
// wrong distance could lead.
Bytes FreedStrays(double megabytes) {
  FlatHive flat = BeginFlat();
  const uint32_t entries[] = {0x5000, 0x5020, 0x5040, 0x5060};
  for (uint32_t i = HostileCount(megabytes, 88 + 40 + 4 * 32); i > 0; --i) {
    const uint32_t key = AddFreedKey(flat, "s", 0x200000 + 0x1008 * (i % 5000));
    AddValueList(flat, entries, 8);
    GiveValues(flat, key, 0x300008 + 0x1010 * (i % 3000), 4);
    for (int value = 0; value < 4; ++value) {
      FreeCell(flat.writer.bytes, AddValue(flat, "v", {}));
    }
  }
  return EndFlat(flat);
}

// --- well-known structures

// A hive of classes: many names of types that all lead to one class, and that class to itself.
Bytes ManyClasses(double megabytes) {
  HiveBuilder hive("S-1-5-21-1-2-3-1001_Classes");
  hive.Key(kBystanderKey).Binary(kBystanderValue, 8);
  hive.Key("One.Class\\shell\\open\\command").Sz("", "C:\\One\\one.exe \"%1\"");
  hive.Key("One.Class\\CurVer").Sz("", "One.Class");
  KeyRef classes = hive.Root().ListStyle(List::kRiOfLh, 500);
  for (uint32_t i = HostileCount(megabytes, 240); i > 0; --i) {
    classes.NewKey(".x" + std::to_string(i)).Sz("", "One.Class");
  }
  return hive.Build().bytes;
}

// A user's hive with a long list of folders that the shell showed.
Bytes ManyFolders(double megabytes) {
  HiveBuilder hive("CMI-CreateHive{00000000-0000-0000-0000-000000000000}");
  hive.Key(kBystanderKey).Binary(kBystanderValue, 8);
  KeyRef streams = hive.Key("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\StreamMRU");
  for (uint32_t i = HostileCount(megabytes, 100); i > 0; --i) streams.Binary(std::to_string(i), 40);
  return hive.Build().bytes;
}

// --- planted

Bytes FakeKey(uint16_t flags, uint32_t parent) {
  Bytes record(88);
  PutU16(record, 0, 0x6B6E);
  PutU16(record, 2, flags);
  PutU64(record, 4, kDefaultTime);
  PutU32(record, 16, parent);
  for (const uint32_t none : {28U, 32U, 40U, 44U, 48U}) PutU32(record, none, kNone);
  PutU16(record, 72, 8);
  PutBytes(record, 76, TextBytes("FakeName"));
  return record;
}

// Values of ordinary keys whose data are key records: of roots in every other one.
Bytes PlantedKeys(double megabytes) {
  FlatHive flat = BeginFlat();
  const uint32_t root = flat.root - kDataArea;
  const uint32_t count = HostileCount(megabytes, 280);
  for (uint32_t i = 0; i < count; ++i) {
    // One record is the data itself, another follows inside with a size field of its own.
    Bytes data = FakeKey(i % 2 == 0 ? 0x2C : 0x20, root);
    data.resize(92);
    PutU32(data, 88, 0U - 96);
    const Bytes inner = FakeKey(i % 2 == 0 ? 0x20 : 0x2C, root);
    data.insert(data.end(), inner.begin(), inner.end());
    const uint32_t value = AddValue(flat, "planted", data);
    const uint32_t list = AddValueList(flat, std::span(&value, 1), 1);
    GiveValues(flat, AddKey(flat, "k" + std::to_string(i)), list, 1);
  }
  return EndFlat(flat);
}

// --- bytes that seem to have moved

// Values whose data are block headers, each at a distance of its own, in a hive with a torn cell.
Bytes PlantedHeaders(double megabytes) {
  FlatHive flat = BeginFlat();
  constexpr uint32_t kHeaders = 30;
  const uint32_t count = HostileCount(megabytes, 32 * kHeaders + 200);
  for (uint32_t i = 0; i < count; ++i) {
    Bytes data(32 * kHeaders);
    for (uint32_t header = 0; header < kHeaders; ++header) {
      std::memcpy(&data[32 * header], "hbin", 4);
      PutU32(data, 32 * header + 4, (i * kHeaders + header) % (count / 4 + 1) * 4096);
      PutU32(data, 32 * header + 8, 4096U << header % 8);
    }
    const uint32_t value = AddValue(flat, "planted", data);
    const uint32_t list = AddValueList(flat, std::span(&value, 1), 1);
    GiveValues(flat, AddKey(flat, "k" + std::to_string(i)), list, 1);
  }
  const uint32_t torn = AddKey(flat, "torn");
  Bytes bytes = EndFlat(flat);
  PutU32(bytes, torn, 0U - 4);
  return bytes;
}

// All pages after the first few changed places.
Bytes ShuffledPages(double megabytes) {
  FlatHive flat = BeginFlat();
  AddBystander(flat);
  const uint32_t first = static_cast<uint32_t>(flat.writer.bytes.size()) / 4096 + 2;
  const uint32_t count = HostileCount(megabytes, 200);
  for (uint32_t i = 0; i < count; ++i) {
    const std::string text = "data of " + std::to_string(i);
    const uint32_t value = AddValue(flat, "v" + std::to_string(i), TextBytes(text));
    const uint32_t list = AddValueList(flat, std::span(&value, 1), 1);
    GiveValues(flat, AddKey(flat, "k" + std::to_string(i)), list, 1);
  }
  Bytes bytes = EndFlat(flat);
  const auto pages = static_cast<uint32_t>(bytes.size() / 4096);
  uint32_t random = 1;
  for (uint32_t page = pages - 1; page > first; --page) {
    random = random * 1664525 + 1013904223;
    const uint32_t other = first + (random >> 8) % (page - first);
    std::swap_ranges(&bytes[size_t{page} * 4096], &bytes[size_t{page} * 4096] + 4096,
                     &bytes[size_t{other} * 4096]);
  }
  return bytes;
}

// A small hive, then one of its pages again and again.
Bytes EqualPages(double megabytes) {
  Bytes bytes = ShuffledPages(0.1);
  const Bytes page(bytes.end() - 8192, bytes.end() - 4096);
  for (uint32_t i = HostileCount(megabytes, 4096); i > 0; --i) {
    bytes.insert(bytes.end(), page.begin(), page.end());
  }
  return bytes;
}

constexpr HostileHive kHives[] = {
    {"shared-value-list", "keys that all name one long value list", SharedValueList},
    {"shared-data", "values that all name the same long data", SharedData},
    {"wrong-value-counts", "value lists that run on to the end", WrongValueCounts},
    {"long-list-rests", "value lists with long rests after their count", LongListRests},
    {"overlapping-keys", "keys in free space whose long names overlap", OverlappingKeys},
    {"deep-wide-names", "nested keys with names outside the code page", DeepWideNames},
    {"namesakes", "a fragment without headers, all names the same", NamesakesInAFragment},
    {"freed-chain", "freed keys, each the parent of the next", FreedChain},
    {"freed-comb", "freed keys at the end of a long path", FreedComb},
    {"freed-shared-list", "freed keys that all name one list of freed values", FreedSharedList},
    {"freed-shared-data", "freed values that all name the same data", FreedSharedData},
    {"freed-strays", "freed keys whose offsets lead nowhere", FreedStrays},
    {"many-classes", "extensions that all lead to one class", ManyClasses},
    {"many-folders", "a long list of folders that the shell showed", ManyFolders},
    {"types-apart", "types of files that each have a parent of their own", TypesApart},
    {"streams-apart", "folders in thousands of lists of one name", StreamsApart},
    {"nested-folders", "folders that the shell showed, each in the one before", NestedFolders},
    {"texts-of-blanks", "texts in which a path may end anywhere", TextsOfBlanks},
    {"texts-of-paths", "texts of nothing but short paths", TextsOfPaths},
    {"planted-keys", "values whose data are key records, roots too", PlantedKeys},
    {"planted-headers", "values whose data are block headers, one cell torn", PlantedHeaders},
    {"shuffled-pages", "a hive whose pages changed places", ShuffledPages},
    {"equal-pages", "one page over and over", EqualPages}};

}  // namespace

std::span<const HostileHive> HostileHives() { return kHives; }

}  // namespace hivequarry::testing
