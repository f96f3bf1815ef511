#include "tests/support/memory_hives.h"

#include <map>

#include "host/host.h"
#include "tests/support/hive_builder.h"
#include "tests/support/plain_reader.h"
#include "words/value_text.h"

namespace hivequarry::testing {
namespace {

constexpr int32_t kBadHive = 1009;
constexpr uint16_t kLinkFlag = 0x10;
constexpr uint16_t kSingleByteLink = 0x30;
constexpr uint16_t kSk = 0x6B73;

using Securities = std::map<Bytes, uint32_t>;

void AddBranch(HiveBuilder& hive, KeyRef to, const MemoryKey& from, Securities& known) {
  if (from.last_write != 0) to.Time(from.last_write);
  to.Class(TextOfWide(from.class_name));
  if (from.is_link) to.Flags(kSingleByteLink);
  if (!from.security.empty()) {
    const auto [found, is_new] = known.try_emplace(from.security, 0);
    if (is_new) found->second = hive.AddSecurity(from.security);
    to.Security(found->second);
  }
  for (const MemoryValue& value : from.values) {
    to.Value(TextOfWide(value.name), value.type, value.data);
  }
  for (const std::unique_ptr<MemoryKey>& key : from.keys) {
    AddBranch(hive, to.NewKey(TextOfWide(key->name)), *key, known);
  }
}

// The cell at an offset when it is a security record; else 0.
uint32_t SecurityCell(const Bytes& hive, uint32_t offset) {
  const uint64_t cell = uint64_t{offset} + kDataArea;
  if (cell + field::kSecurityDescriptor > hive.size()) return 0;
  const auto at = static_cast<uint32_t>(cell);
  const uint64_t end =
      cell + field::kSecurityDescriptor + GetU32(hive, at + field::kSecurityLength);
  return end <= hive.size() && GetU16(hive, at + field::kSignature) == kSk ? at : 0;
}

Bytes SecurityOf(const Bytes& hive, uint32_t offset) {
  const uint32_t cell = SecurityCell(hive, offset);
  if (cell == 0) return {};
  const auto from = hive.begin() + cell + field::kSecurityDescriptor;
  return Bytes(from, from + GetU32(hive, cell + field::kSecurityLength));
}

std::u16string ClassOf(const Bytes& hive, uint32_t key) {
  std::u16string name;
  const uint32_t at = GetU32(hive, key + field::kKeyClass) + kDataArea + 4;
  for (uint32_t i = 0; i < GetU16(hive, key + field::kKeyClassLength); i += 2) {
    name += static_cast<char16_t>(GetU16(hive, at + i));
  }
  return name;
}

void TakeKey(const Bytes& hive, const PlainKey& from, MemoryKey& to) {
  to.last_write = from.time;
  to.class_name = ClassOf(hive, from.position);
  to.security = SecurityOf(hive, from.security);
  to.is_link = (GetU16(hive, from.position + field::kKeyFlags) & kLinkFlag) != 0;
  for (const PlainValue& value : from.values) to.Set(value.name, value.type, value.data);
}

}  // namespace

Bytes HiveOfBranch(const MemoryKey& branch, std::u16string_view root_name) {
  HiveBuilder hive(TextOfWide(root_name));
  Securities known;
  AddBranch(hive, hive.Root(), branch, known);
  return hive.Build().bytes;
}

int32_t CheckLoadable(const Bytes& hive) {
  if (hive.size() < 2 * kDataArea || hive.size() % kDataArea != 0) return kBadHive;
  Bytes base(hive.begin(), hive.begin() + kDataArea);
  FixChecksum(base);
  const bool sound = base == Bytes(hive.begin(), hive.begin() + kDataArea) &&
                     GetU32(hive, 0) == 0x66676572 && GetU32(hive, 4) == GetU32(hive, 8) &&
                     GetU32(hive, field::kBaseLength) + kDataArea == hive.size() &&
                     WalkPlainCells(hive, kDataArea).blocks != 0;
  if (!sound) return kBadHive;
  const std::vector<PlainKey> keys = ReadPlainTree(hive);
  return keys.empty() || SecurityCell(hive, keys[0].security) == 0 ? kBadHive : kRegistryDone;
}

std::u16string BranchFromHive(const Bytes& hive, MemoryKey& branch) {
  const std::vector<PlainKey> keys = ReadPlainTree(hive);
  std::vector<MemoryKey*> made;
  for (const PlainKey& key : keys) {
    made.push_back(made.empty() ? &branch : &made[key.parent]->Add(key.name));
    TakeKey(hive, key, *made.back());
  }
  return keys[0].name;
}

}  // namespace hivequarry::testing
