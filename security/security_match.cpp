#include "hive/offset_map.h"
#include "host/number_text.h"
#include "security/security_lists.h"
#include "security/security_rows.h"

namespace hivequarry {
namespace {

// What the generic rights stand for on a registry key.
// In stored entries they are as a rule left only where an entry is for inheriting.
struct GenericRight {
  uint32_t generic;
  uint32_t specific;
};
constexpr GenericRight kGenericRights[] = {{0x80000000, kReadRights},
                                           {0x40000000, kWriteRights},
                                           {0x20000000, kReadRights},
                                           {0x10000000, kFullControl}};

// True when `is_match` is for one of the list's entries. Damaged ones match nothing.
template <typename IsMatch>
bool AnyAce(ByteView image, const AclPlace& acl, const SidReplacement* replace, AceReads* reads,
            const IsMatch& is_match) {
  bool found = false;
  const uint32_t most = reads == nullptr ? acl.count : AcesToRead(acl, *reads);
  ForEachAce(image, acl, replace, [&](const AceInfo& ace, uint32_t index) {
    if (index >= most) return false;
    found = ace.valid && is_match(ace);
    return !found;
  });
  return found;
}

// Decides about one entry after another; true when the record matches by now.
class PermissionTest {
 public:
  explicit PermissionTest(const PermissionQuery& query) : query_(query), wanted_(query.rights) {}

  // Entries are asked in the order of the list, as the system does.
  bool operator()(const AceInfo& ace) {
    if (!query_.sid.empty() && ace.sid_text != query_.sid) return false;
    const bool other = ace.type >= kAceAlarm;
    if (!other && ace.type != static_cast<uint8_t>(query_.kind)) return false;
    if (ace.type >= kAceAudit) return true;
    if (query_.not_inherited && (ace.flags & kAceInherited) != 0) return false;
    // Rights spread over entries add up.
    wanted_ &= ~MapGenericRights(ace.mask);
    return wanted_ == 0;
  }

 private:
  const PermissionQuery& query_;
  uint32_t wanted_;
};

}  // namespace

uint32_t MapGenericRights(uint32_t mask) {
  uint32_t mapped = mask;
  for (const GenericRight& right : kGenericRights) {
    if ((mask & right.generic) != 0) mapped = (mapped & ~right.generic) | right.specific;
  }
  return mapped;
}

bool MatchesPermissions(ByteView image, const SecurityRecordInfo& info,
                        const PermissionQuery& query, const SidReplacement* replace,
                        AceReads* reads) {
  // No list is looked at for audits, so they match nothing.
  if (info.dacl.position == 0 || info.dacl.size == 0 || query.kind == AceKind::kAudit) return false;
  PermissionTest test(query);
  const auto is_match = [&test](const AceInfo& ace) { return test(ace); };
  if (AnyAce(image, info.dacl, replace, reads, is_match)) return true;
  return query.kind == AceKind::kOther && AnyAce(image, info.sacl, replace, reads, is_match);
}

bool MatchesQuery(ByteView image, const SecurityRecordInfo& info, const SecurityQuery& query,
                  const SidReplacement* replace, AceReads* reads) {
  const auto is_trustee = [&query](const AceInfo& ace) { return ace.sid_text == query.sid; };
  switch (query.mode) {
    case SecurityMode::kRecord:
      return info.position == query.record;
    case SecurityMode::kOwner:
      return info.owner_text == query.sid;
    case SecurityMode::kAce:
      return (IsUsable(info.dacl) || IsUsable(info.sacl)) &&
             (AnyAce(image, info.dacl, replace, reads, is_trustee) ||
              AnyAce(image, info.sacl, replace, reads, is_trustee));
    case SecurityMode::kPermissions:
      return MatchesPermissions(image, info, query.permissions, replace, reads);
  }
  return false;
}

std::string TitleOfQuery(const HiveImage& hive, const SecurityQuery& query) {
  switch (query.mode) {
    case SecurityMode::kRecord:
      return "Keys with security record " + PositionText(OffsetOfPosition(hive, query.record));
    case SecurityMode::kOwner:
      return "Keys with Owner Sid " + query.sid;
    case SecurityMode::kAce:
      return "Keys with ACEs for " + query.sid;
    case SecurityMode::kPermissions:
      break;
  }
  return "Keys with Permissions";
}

std::string InvalidRecordText(const HiveImage& hive, uint32_t position) {
  if (position == kNowhere) return "Invalid security key: its offset leads nowhere";
  const uint32_t offset = position == kNoOffset ? kNoOffset : OffsetOfPosition(hive, position);
  return Concat({"Invalid security key at 0x", Hex(offset)});
}

}  // namespace hivequarry
