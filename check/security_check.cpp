// Security records: how many keys name each, and the ring that all of them are in.
#include <algorithm>

#include "check/checking.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "records/key_node.h"
#include "records/security_cell.h"

namespace hivequarry {
namespace {

using enum CheckCode;

constexpr uint32_t kSecurityRecord = kSecurityDescriptor - 4;  // bytes of the fixed part

const uint8_t* At(const Checking& check, const SecurityUse& use) {
  return check.hive.data() + use.position;
}

// The number of the record in `securities`, which is given in the order in which keys name them.
uint32_t UseOfRecord(Checking& check, const CellTarget& cell) {
  const auto [at, added] =
      check.security_at.try_emplace(cell.position, static_cast<uint32_t>(check.securities.size()));
  if (added) check.securities.push_back({cell.position});
  return at->second;
}

bool IsSecurityRecord(const Checking& check, const CellTarget& cell) {
  return cell.reach == Reach::kCell && SignatureOf(check, cell) == kSignatureSk &&
         cell.size >= kSecurityRecord;
}

void AddBroken(Checking& check, const SecurityUse& from, uint32_t offset) {
  AddFinding(check, kS5, from.position, kNoCheckedKey,
             {OffsetFound(offset), "the next security record"});
}

// From one record on by the links forward. False when that does not lead back to it.
// Each record is entered once, so the walk ends in any ring, also one that closes elsewhere.
bool WalkRing(Checking& check, uint32_t start) {
  for (uint32_t at = start;;) {
    check.securities[at].in_ring = true;
    const SecurityUse from = check.securities[at];
    const uint32_t offset = LoadU32(At(check, from) + kSecurityNext);
    const CellTarget cell = FindCell(check, offset);
    if (!IsSecurityRecord(check, cell)) {
      AddBroken(check, from, offset);
      return false;
    }
    // A record that only the ring leads to is named by that, and by no key.
    ClaimCell(check, cell, CellUse::kSecurity, kNoCheckedKey);
    at = UseOfRecord(check, cell);
    const uint32_t back = LoadU32(At(check, check.securities[at]) + kSecurityPrevious);
    if (back != from.position - kBaseBlockSize) {
      AddFinding(check, kS6, cell.position, kNoCheckedKey,
                 {OffsetFound(back), HexNumber(from.position - kBaseBlockSize)});
    }
    if (at == start) return true;
    if (check.securities[at].in_ring) {
      AddBroken(check, from, offset);
      return false;
    }
  }
}

// From the first record that a key names.
void CheckRing(Checking& check) {
  if (check.securities.empty()) return;
  if (!WalkRing(check, 0)) return;  // which records belong to it nobody knows
  for (const SecurityUse& use : check.securities) {
    if (use.in_ring && use.keys == 0) {
      AddFinding(check, kS8, use.position, kNoCheckedKey, {"0 keys", "one or more"});
    }
    if (!use.in_ring) AddFinding(check, kS7, use.position, kNoCheckedKey);
  }
}

// The number of keys that the record says against those that name it, and its descriptor within the
// room of its cell. A length beyond the cell is not followed.
void CheckRecord(Checking& check, const SecurityUse& use) {
  const uint32_t references = LoadU32(At(check, use) + kSecurityReferences);
  if (references != use.keys) {
    AddFinding(check, kS3, use.position, kNoCheckedKey,
               {std::to_string(references), std::to_string(use.keys)});
  }
  const uint32_t length = LoadU32(At(check, use) + kSecurityLength);
  const uint32_t room = CellLength(LoadU32(At(check, use))) - kSecurityDescriptor;
  std::string fault = std::to_string(length) + " bytes, the cell has " + std::to_string(room);
  if (length <= room) {
    fault = DescriptorFault(check.hive.subspan(use.position + kSecurityDescriptor, length));
  }
  if (!fault.empty()) {
    AddFinding(check, kS4, use.position, kNoCheckedKey, {fault, "a security descriptor"});
  }
}

}  // namespace

// Most keys name the same record as the one before: that one is remembered and spares the look-up.
void UseSecurity(Checking& check, uint32_t key) {
  const uint32_t position = check.result.keys[key].position;
  const uint32_t offset = LoadU32(check.hive.data() + position + kKeySecurity);
  if (offset == kNowhereOffset) {
    AddFinding(check, kS1, position, key, {"none", "a security record"});
    return;
  }
  if (offset != check.last_security_offset) {
    const CellTarget cell = FollowOffset(check, offset, kSx, kSx, position, key);
    if (cell.reach != Reach::kCell) return;
    if (!IsSecurityRecord(check, cell)) {
      AddFinding(check, kS2, position, key, {OffsetFound(offset), "a security record"});
      return;
    }
    ClaimCell(check, cell, CellUse::kSecurity, key);
    check.last_security_offset = offset;
    check.last_security = UseOfRecord(check, cell);
  }
  ++check.securities[check.last_security].keys;
}

void CheckSecurity(Checking& check) {
  CheckRing(check);
  for (const SecurityUse& use : check.securities) CheckRecord(check, use);
}

}  // namespace hivequarry
