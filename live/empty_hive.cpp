#include "live/empty_hive.h"

#include <array>
#include <string_view>

#include "hive/image.h"
#include "hive/keys.h"
#include "security/descriptor.h"

namespace hivequarry {
namespace {

// The layout is that of docs/format.md; everything here is worked out by the compiler, so that the
// assertions at the end hold the very bytes that are written.
using HiveBytes = std::array<uint8_t, kEmptyHiveSize>;

// Where things are in the image: the base block, then one bin with two cells, the root key and its
// security record; the rest of it is one free cell.
constexpr uint32_t kChecksum = 508;
constexpr uint32_t kBinSize = kEmptyHiveSize - kBaseBlockSize;
constexpr uint32_t kRootCell = kFirstCellPosition;
constexpr uint32_t kRootSize = kKeyName + kRootNameArea;
constexpr uint32_t kSecurityCell = kRootCell + kRootSize;
constexpr uint64_t kMade = 133'801'632'000'000'000;  // FILETIME of 2025/01/01

// Little-endian, of `size` bytes.
constexpr void Put(HiveBytes& hive, uint32_t at, uint64_t value, int size) {
  for (int i = 0; i < size; ++i) hive[at + i] = static_cast<uint8_t>(value >> 8 * i);
}

constexpr void PutText(HiveBytes& hive, uint32_t at, std::string_view text) {
  for (const char c : text) hive[at++] = static_cast<uint8_t>(c);
}

constexpr uint64_t Get(const HiveBytes& hive, uint32_t at, int size = 4) {
  uint64_t value = 0;
  for (int i = size; i-- > 0;) value = value << 8 | hive[at + i];
  return value;
}

// The checksum is the exclusive or of the 127 numbers before it, so it comes last. It is neither 0
// nor -1 here, for which a system has other numbers (asserted below).
constexpr void PutBaseBlock(HiveBytes& hive) {
  Put(hive, 0, kHiveSignature, 4);
  Put(hive, 4, 1, 4);  // the sequence numbers agree: nothing is pending
  Put(hive, 8, 1, 4);
  Put(hive, 12, kMade, 8);
  Put(hive, 20, 1, 4);  // version 1.5: long data in segments
  Put(hive, 24, 5, 4);
  Put(hive, 32, 1, 4);  // loaded directly
  Put(hive, 36, kRootCell - kBaseBlockSize, 4);
  Put(hive, 40, kBinSize, 4);
  Put(hive, 44, 1, 4);  // sectors per cluster
  uint64_t sum = 0;
  for (uint32_t at = 0; at < kChecksum; at += 4) sum ^= Get(hive, at);
  Put(hive, kChecksum, sum, 4);
}

constexpr void PutBinHeader(HiveBytes& hive) {
  Put(hive, kBaseBlockSize, kBinSignature, 4);
  Put(hive, kBaseBlockSize + 8, kBinSize, 4);
  Put(hive, kBaseBlockSize + 20, kMade, 8);
}

// The cell's length is negative: it is taken. The area of the name is longer than the name, and the
// length field counts all of it, until a snapshot puts a path there.
constexpr void PutRootKey(HiveBytes& hive) {
  Put(hive, kRootCell, 0U - kRootSize, 4);
  PutText(hive, kRootCell + 4, "nk");
  Put(hive, kRootCell + kKeyFlags, kRootKeyFlags, 2);
  Put(hive, kRootCell + kKeyLastWrite, kMade, 8);
  constexpr uint32_t kVolatileSubkeyList = 36;
  for (const uint32_t field :
       {kKeyParent, kKeySubkeyList, kVolatileSubkeyList, kKeyValueList, kKeyClassName}) {
    Put(hive, kRootCell + field, kNoOffset, 4);
  }
  Put(hive, kRootCell + kKeySecurity, kSecurityCell - kBaseBlockSize, 4);
  Put(hive, kRootCell + kKeyNameLength, kRootNameArea, 2);
  PutText(hive, kRootCell + kKeyName, "sys.dat");
}

// S-1-5 with the given sub-authorities; returns where it ends.
constexpr uint32_t PutSid(HiveBytes& hive, uint32_t at, uint32_t first, uint32_t second) {
  const uint32_t count = second == 0 ? 1 : 2;
  Put(hive, at, 1, 1);
  Put(hive, at + 1, count, 1);
  Put(hive, at + 7, 5, 1);
  Put(hive, at + 8, first, 4);
  if (count == 2) Put(hive, at + 12, second, 4);
  return at + 8 + 4 * count;
}

// An entry that allows a SID everything, in the keys below as well.
constexpr uint32_t PutFullAccess(HiveBytes& hive, uint32_t at, uint32_t first, uint32_t second) {
  // The entry's flag for containers, which keys are.
  constexpr uint8_t kInheritedByKeys = 2;
  constexpr uint32_t kAllAccess = 0xF003F;
  const uint32_t end = PutSid(hive, at + 8, first, second);
  Put(hive, at + 1, kInheritedByKeys, 1);
  Put(hive, at + 2, end - at, 2);
  Put(hive, at + 4, kAllAccess, 4);
  return end;
}

// Administrators own the keys; they and the system have every right. A root key without a
// descriptor would keep the hive from being loaded. Returns where the cell ends.
constexpr uint32_t PutSecurity(HiveBytes& hive) {
  constexpr uint32_t kDescriptor = kSecurityCell + kSecurityDescriptor;
  constexpr uint32_t kDacl = kDescriptor + 20;
  constexpr uint32_t kSelfRelativeWithDacl = 0x8004;
  PutText(hive, kSecurityCell + 4, "sk");
  Put(hive, kSecurityCell + kSecurityNext, kSecurityCell - kBaseBlockSize, 4);
  Put(hive, kSecurityCell + kSecurityPrevious, kSecurityCell - kBaseBlockSize, 4);
  Put(hive, kSecurityCell + kSecurityReferences, 1, 4);

  const uint32_t second = PutFullAccess(hive, kDacl + 8, 32, 544);
  const uint32_t owner = PutFullAccess(hive, second, 18, 0);
  Put(hive, kDacl, 2, 1);
  Put(hive, kDacl + 2, owner - kDacl, 2);
  Put(hive, kDacl + 4, 2, 2);
  const uint32_t group = PutSid(hive, owner, 32, 544);
  const uint32_t end = PutSid(hive, group, 18, 0);
  Put(hive, kDescriptor, 1, 1);
  Put(hive, kDescriptor + 2, kSelfRelativeWithDacl, 2);
  Put(hive, kDescriptor + 4, owner - kDescriptor, 4);
  Put(hive, kDescriptor + 8, group - kDescriptor, 4);
  Put(hive, kDescriptor + 16, kDacl - kDescriptor, 4);
  Put(hive, kSecurityCell + kSecurityLength, end - kDescriptor, 4);

  const uint32_t cell_end = (end + 7) / 8 * 8;
  Put(hive, kSecurityCell, kSecurityCell - cell_end, 4);
  return cell_end;
}

constexpr HiveBytes MakeEmptyHive() {
  HiveBytes hive{};
  PutBaseBlock(hive);
  PutBinHeader(hive);
  PutRootKey(hive);
  const uint32_t free_cell = PutSecurity(hive);
  Put(hive, free_cell, kEmptyHiveSize - free_cell, 4);
  return hive;
}

constexpr HiveBytes kEmptyHive = MakeEmptyHive();

// Snapshots are marked by writing to fixed places of the file, and read back from them.
static_assert(Get(kEmptyHive, 36) == 0x20);
static_assert(Get(kEmptyHive, 4096) == 0x6E696268 && Get(kEmptyHive, 4096 + 8) == 4096);
static_assert(Get(kEmptyHive, 4128) == 0xFFFFFEB8);
static_assert(Get(kEmptyHive, 4132) == 0x002C6B6E);
static_assert(Get(kEmptyHive, 4204, 2) == 248 && Get(kEmptyHive, 4206, 2) == 0);
static_assert(Get(kEmptyHive, 4208, 8) == 0x007461642E737973);  // "sys.dat"
static_assert(Get(kEmptyHive, 4456 + 4, 2) == 0x6B73 && Get(kEmptyHive, 4456) == 0U - 128);
static_assert(Get(kEmptyHive, 4584) == 8192 - 4584);
static_assert(Get(kEmptyHive, kChecksum) != 0 && Get(kEmptyHive, kChecksum) != 0xFFFFFFFF);

}  // namespace

std::span<const uint8_t, kEmptyHiveSize> EmptyHive() { return kEmptyHive; }

}  // namespace hivequarry
