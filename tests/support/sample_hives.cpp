#include "tests/support/sample_hives.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace hivequarry::testing {
namespace {

// The hive of N keys. Keys are made depth first, each with its cells after it, from a list of keys
// still to make; nothing is kept of a key that is done.

// The same numbers on every platform.
struct Random {
  uint64_t state = 0x9E3779B97F4A7C15;
};

uint64_t Next(Random& random) {
  uint64_t z = (random.state += 0x9E3779B97F4A7C15);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
  return z ^ (z >> 31);
}

uint32_t Below(Random& random, uint32_t limit) {
  return static_cast<uint32_t>(Next(random) % limit);
}

enum class Branch : uint8_t { kNested, kClassIds, kInterfaces, kFlat };

struct Task {
  std::string name;
  uint32_t parent = 0;  // cell
  uint32_t entry = 0;   // in the parent's list
  List list = List::kLh;
  uint32_t keys = 1;  // of the branch, this one counted
  Branch branch = Branch::kNested;
};

struct Generator {
  CellWriter writer;
  Random random;
  std::vector<Task> open;
  std::vector<uint32_t> securities;
  std::vector<uint32_t> references;
  uint32_t security = 0;
};

constexpr std::array<const char*, 24> kWords = {
    "Settings", "Cache",   "Device", "Extension", "Font",   "Handler", "Index",  "Locale",
    "Module",   "Network", "Option", "Package",   "Policy", "Printer", "Queue",  "Region",
    "Schema",   "Service", "Task",   "Update",    "View",   "Window",  "Worker", "Zone"};
constexpr std::array<const char*, 12> kValueNames = {
    "DisplayName", "Version", "InstallDate", "Flags",   "Path",     "Enabled",
    "Order",       "Size",    "Publisher",   "Timeout", "LastUsed", "State"};
constexpr uint32_t kSecurities = 40;
constexpr uint32_t kLongestFlatList = 1000;  // longer ones are split
// In a key: bytes of what is the longest below it, names as UTF-16.
constexpr uint32_t kLongestSubkeyName = 56;
constexpr uint32_t kLongestValueName = 64;
constexpr uint32_t kLongestValueData = 68;

std::string GuidName(Random& random) {
  const uint64_t a = Next(random);
  const uint64_t b = Next(random);
  char text[40];
  std::snprintf(text, sizeof(text), "{%08X-%04X-%04X-%04X-%04X%08X}",
                static_cast<uint32_t>(a >> 32), static_cast<uint32_t>(a >> 16 & 0xFFFF),
                static_cast<uint32_t>(a & 0xFFFF), static_cast<uint32_t>(b >> 48),
                static_cast<uint32_t>(b >> 32 & 0xFFFF), static_cast<uint32_t>(b & 0xFFFFFFFF));
  return text;
}

std::string WordName(Random& random, uint32_t number) {
  return kWords[Below(random, kWords.size())] + std::to_string(number);
}

Bytes SampleText(Random& random) {
  std::string text = "%ProgramFiles%\\";
  text += kWords[Below(random, kWords.size())];
  if (Below(random, 3) == 0) text += "\\" + std::to_string(Below(random, 100000)) + ".dll";
  return Utf16Z(text);
}

Bytes RandomBytes(Random& random, size_t size) {
  Bytes bytes(size);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(Next(random));
  return bytes;
}

struct TypedData {
  uint32_t type;
  Bytes data;
};

TypedData SampleData(Random& random) {
  const uint32_t dice = Below(random, 100);
  if (dice < 56) return {4, RandomBytes(random, 4)};
  if (dice < 79) return {1, SampleText(random)};
  if (dice < 82) return {2, SampleText(random)};
  if (dice < 88) return {11, RandomBytes(random, 8)};
  if (dice < 90) return {7, Joined({SampleText(random), SampleText(random), Bytes(2)})};
  const bool big = Below(random, 4000) == 0;
  return {3, RandomBytes(random, (big ? 20000 : 5) + Below(random, 28))};
}

void MakeValues(Generator& make, uint32_t key) {
  // None for a quarter of the keys, 1.5 on average.
  constexpr std::array<uint8_t, 8> kCounts = {0, 0, 1, 1, 2, 2, 3, 3};
  const uint32_t count = kCounts[Below(make.random, kCounts.size())];
  if (count == 0) return;
  std::array<uint32_t, 3> values{};
  uint32_t longest_name = 0;
  uint32_t longest_data = 0;
  const uint32_t first_name = Below(make.random, kValueNames.size());
  for (uint32_t i = 0; i < count; ++i) {
    const bool unnamed = i == 0 && Below(make.random, 3) == 0;
    const std::string_view name = unnamed ? "" : kValueNames[(first_name + i) % kValueNames.size()];
    const TypedData value = SampleData(make.random);
    values[i] = AddValueCell(make.writer, TextBytes(name), unnamed ? 0 : 1, value.type,
                             static_cast<uint32_t>(value.data.size()));
    AddValueData(make.writer, values[i], value.data);
    longest_name = std::max(longest_name, static_cast<uint32_t>(2 * name.size()));
    longest_data = std::max(longest_data, static_cast<uint32_t>(value.data.size()));
  }
  const uint32_t list = AddCell(make.writer, 4 * count);
  Bytes& bytes = make.writer.bytes;
  for (uint32_t i = 0; i < count; ++i) PutU32(bytes, list + 4 + 4 * i, values[i] - kDataArea);
  PutU32(bytes, key + field::kKeyValues, count);
  PutU32(bytes, key + field::kKeyValueList, list - kDataArea);
  PutU32(bytes, key + kLongestValueName, longest_name);
  PutU32(bytes, key + kLongestValueData, longest_data);
}

// Subkeys of a branch whose own key is made already: names and how many keys each branch holds.
std::vector<Task> PlanBranch(Random& random, const Task& task) {
  std::vector<Task> children;
  uint32_t left = task.keys - 1;
  const bool long_list = task.branch != Branch::kNested;
  const uint32_t each = task.branch == Branch::kFlat ? 1 : 4;
  const uint32_t fan_out = 2 + Below(random, 11);
  const uint32_t share = std::max<uint32_t>(left / fan_out, 1);
  while (left > 0) {
    const uint32_t wanted = long_list ? each : 1 + Below(random, 2 * share);
    Task child;
    child.keys = std::min(left, wanted);
    const auto number = static_cast<uint32_t>(children.size());
    child.name = long_list ? GuidName(random) : WordName(random, number);
    left -= child.keys;
    children.push_back(std::move(child));
  }
  return children;
}

// The first level resembles a hive of installed software: class registrations, long flat lists of
// components, and nested settings of many makers.
std::vector<Task> PlanRoot(uint32_t keys) {
  struct Part {
    const char* name;
    uint32_t percent;
    Branch branch;
  };
  constexpr std::array<Part, 9> kParts = {{{"Classes", 24, Branch::kClassIds},
                                           {"Clients", 2, Branch::kNested},
                                           {"Components", 10, Branch::kFlat},
                                           {"Interfaces", 16, Branch::kInterfaces},
                                           {"Microsoft", 34, Branch::kNested},
                                           {"Northlight", 5, Branch::kNested},
                                           {"Policies", 1, Branch::kNested},
                                           {"Quillworks", 6, Branch::kNested},
                                           {"Wow6432Node", 100, Branch::kNested}}};
  std::vector<Task> children;
  uint32_t left = keys - 1;
  for (const Part& part : kParts) {
    Task child;
    child.name = part.name;
    child.branch = part.branch;
    child.keys = std::min<uint32_t>(
        left, std::max<uint32_t>(1, static_cast<uint32_t>(uint64_t{keys} * part.percent / 100)));
    if (child.keys == 0) break;
    left -= child.keys;
    children.push_back(std::move(child));
  }
  return children;
}

void MakeList(Generator& make, uint32_t key, std::vector<Task> children) {
  const auto count = static_cast<uint32_t>(children.size());
  if (count == 0) return;
  std::sort(children.begin(), children.end(), [](const Task& a, const Task& b) {
    return UpperText(Wide(a.name)) < UpperText(Wide(b.name));
  });
  const List kind = count > kLongestFlatList ? List::kRiOfLh : List::kLh;
  std::vector<uint32_t> lists;
  const uint32_t list = AddListCell(make.writer, kind, count, kLongestFlatList / 2, &lists);
  if (lists.empty()) lists.push_back(list);
  PutU32(make.writer.bytes, key + field::kKeySubkeys, count);
  PutU32(make.writer.bytes, key + field::kKeyList, list - kDataArea);
  const size_t longest = std::ranges::max(children, {}, [](const Task& child) {
                           return child.name.size();
                         }).name.size();
  PutU32(make.writer.bytes, key + kLongestSubkeyName, static_cast<uint32_t>(2 * longest));
  const uint32_t per_list = kind == List::kLh ? count : kLongestFlatList / 2;
  for (uint32_t i = count; i-- > 0;) {
    children[i].parent = key;
    children[i].entry = lists[i / per_list] + field::kListEntries + 8 * (i % per_list);
    make.open.push_back(std::move(children[i]));
  }
}

void MakeKey(Generator& make, const Task& task) {
  const bool root = task.parent == 0;
  const uint64_t time = kDefaultTime + Below(make.random, 100000000) * uint64_t{10000000};
  const uint32_t key = AddKeyCell(make.writer, TextBytes(task.name), root ? 0x2C : 0x20, time);
  Bytes& bytes = make.writer.bytes;
  if (root) {
    std::vector<Bytes> descriptors;
    for (uint32_t i = 0; i < kSecurities; ++i) {
      const std::string user = "S-1-5-21-1000-2000-3000-" + std::to_string(1000 + i);
      descriptors.push_back(SecurityDescriptor(
          "S-1-5-32-544", "S-1-5-18",
          {{0, 2, 0xF003F, "S-1-5-18"}, {0, 2, 0xF003F, "S-1-5-32-544"}, {0, 2, 0x20019, user}}));
    }
    make.securities = AddSecurityRing(make.writer, descriptors);
    make.references.resize(kSecurities);
  } else {
    PutU32(bytes, key + field::kKeyParent, task.parent - kDataArea);
    PutU32(bytes, task.entry, key - kDataArea);
    PutU32(bytes, task.entry + 4, NameHash(Wide(task.name)));
  }
  // Neighbours mostly share their security.
  if (Below(make.random, 64) == 0) make.security = Below(make.random, kSecurities);
  ++make.references[make.security];
  PutU32(bytes, key + field::kKeySecurity, make.securities[make.security] - kDataArea);
  MakeValues(make, key);
  MakeList(make, key, root ? PlanRoot(task.keys) : PlanBranch(make.random, task));
}

}  // namespace

Bytes HiveOfKeys(uint32_t count) {
  Generator make;
  make.writer.bytes.reserve(kDataArea + size_t{count} * 200);
  Task root;
  root.name = "SOFTWARE";
  root.keys = std::max<uint32_t>(count, 1);
  make.open.push_back(std::move(root));
  while (!make.open.empty()) {
    const Task task = std::move(make.open.back());
    make.open.pop_back();
    MakeKey(make, task);
  }
  Bytes& bytes = make.writer.bytes;
  PutU32(bytes, kDataArea + 32 + field::kKeyParent, make.securities[0] - kDataArea);
  for (uint32_t i = 0; i < kSecurities; ++i) {
    PutU32(bytes, make.securities[i] + field::kSecurityReferences, make.references[i]);
  }
  FinishHive(make.writer, {});
  return std::move(make.writer.bytes);
}

Bytes FlatHive(uint32_t count) {
  HiveBuilder hive;
  KeyRef flat = hive.Key("Flat").ListStyle(List::kRiOfLh, 500);
  for (uint32_t i = 0; i < count; ++i) flat.NewKey("Key" + std::to_string(i)).Dword("Number", i);
  return hive.Build().bytes;
}

Bytes DeepHive(uint32_t count) {
  HiveBuilder hive;
  KeyRef key = hive.Root();
  for (uint32_t i = 0; i < count; ++i) key = key.NewKey("Level" + std::to_string(i));
  return hive.Build().bytes;
}

Bytes HiveOfValues(uint32_t count) {
  HiveBuilder hive;
  KeyRef key = hive.Key("Values");
  for (uint32_t i = 0; i < count; ++i) key.Dword("Value" + std::to_string(i), i);
  return hive.Build().bytes;
}

Bytes SharedListHive(uint32_t count) {
  CellWriter writer;
  const uint32_t root = AddKeyCell(writer, TextBytes("ROOT"), 0x2C, kDefaultTime);
  const uint32_t listed = std::min<uint32_t>(count, 65535);
  const uint32_t list = AddListCell(writer, List::kLh, listed, 0);
  Bytes& bytes = writer.bytes;
  PutU32(bytes, root + field::kKeySubkeys, listed);
  PutU32(bytes, root + field::kKeyList, list - kDataArea);
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t key = AddKeyCell(writer, TextBytes("K" + std::to_string(i)), 0x20, kDefaultTime);
    PutU32(bytes, key + field::kKeyParent, root - kDataArea);
    PutU32(bytes, key + field::kKeySubkeys, listed);
    PutU32(bytes, key + field::kKeyList, list - kDataArea);
    if (i < listed) PutU32(bytes, list + field::kListEntries + 8 * i, key - kDataArea);
  }
  FinishHive(writer, {});
  return std::move(writer.bytes);
}

}  // namespace hivequarry::testing
