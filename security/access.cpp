// What a record lets whom do with a key.
#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "hive/keys.h"
#include "hive/layer_stack.h"
#include "host/case.h"
#include "records/security_cell.h"
#include "security/security_lists.h"
#include "security/security_rows.h"

namespace hivequarry {
namespace {

constexpr const char* kEveryone = "S-1-1-0";
constexpr const char* kOwnerRights = "S-1-3-4";
// A type of entries, and a control bit of descriptors: without it there is no access list, and
// everybody may do everything.
constexpr uint8_t kAllowIf = 9;  // with a condition after the SID
constexpr uint16_t kHasDacl = 0x0004;
constexpr uint32_t kOfOwners = 0x60000;  // an owner may read and change the rights

// The grants of one record, by trustee.
class Grants {
 public:
  void Add(const std::string& sid, uint32_t rights, const char* by) {
    const auto [entry, added] = index_.try_emplace(sid, all_.size());
    if (added) all_.push_back({sid, 0, by});
    AccessGrant& grant = all_[entry->second];
    // Of several ways the one that needs no condition, or the first.
    if ((rights & ~grant.rights) != 0 && grant.by != by) {
      grant.by += grant.rights == 0 ? "" : std::string(", ") + by;
    }
    grant.rights |= rights;
  }
  std::vector<AccessGrant> Take() && {
    std::erase_if(all_, [](const AccessGrant& grant) { return grant.rights == 0; });
    return std::move(all_);
  }

 private:
  std::vector<AccessGrant> all_;
  std::unordered_map<std::string, size_t> index_;
};

// The entries in order: what was denied before does not come back.
struct EntryWalk {
  const std::string& owner;
  Grants grants;
  std::unordered_map<std::string, uint32_t> denied;
  bool owner_rights = false;  // an entry says what owners may, in place of the usual

  void Deny(const AceInfo& ace, uint32_t rights) { denied[ace.sid_text] |= rights; }
  uint32_t DeniedTo(const std::string& sid) const {
    const auto own = denied.find(sid);
    const auto all = denied.find(kEveryone);
    return (own == denied.end() ? 0 : own->second) | (all == denied.end() ? 0 : all->second);
  }
  // Rights that an entry before this one denies are not granted. An entry for the owner's rights is
  // about whoever owns the key.
  void Allow(const AceInfo& ace, uint32_t rights) {
    const bool of_owner = ace.sid_text == kOwnerRights;
    const std::string& sid = of_owner ? owner : ace.sid_text;
    const char* by = ace.type == kAllowIf ? "allow, on a condition" : "allow";
    if (!sid.empty()) grants.Add(sid, rights & ~DeniedTo(sid), of_owner ? "owner's entry" : by);
  }
  // In the order of the list, which is the order in which a system asks its entries.
  void Visit(const AceInfo& ace) {
    if (!ace.valid || ace.sid_text.empty() || (ace.flags & kAceInheritOnly) != 0) return;
    const uint32_t rights = MapGenericRights(ace.mask);
    owner_rights = owner_rights || ace.sid_text == kOwnerRights;
    if (ace.type == kAceDeny) Deny(ace, rights);
    if (ace.type == kAceAllow || ace.type == kAllowIf) Allow(ace, rights);
  }
};

bool HasDacl(ByteView image, const SecurityRecordInfo& info) {
  return info.dacl.position != 0 &&
         (ReadU16(image, info.position + kSecurityDescriptor + 2) & kHasDacl) != 0;
}

std::string NameOf(const std::string& sid) {
  std::string name;
  AccountNameOfSid(SidOfText(sid), sid, false, name);
  return name;
}

}  // namespace

std::vector<AccessGrant> GrantsOf(ByteView image, const SecurityRecordInfo& info,
                                  const SidReplacement* replace, AceReads* reads) {
  if (!HasDacl(image, info)) return {{kEveryone, kFullControl, "no list"}};
  EntryWalk walk{info.owner_text, {}, {}};
  const uint32_t most = reads == nullptr ? info.dacl.count : AcesToRead(info.dacl, *reads);
  ForEachAce(image, info.dacl, replace, [&](const AceInfo& ace, uint32_t index) {
    if (index >= most) return false;
    walk.Visit(ace);
    return true;
  });
  if (!walk.owner_rights && !info.owner_text.empty()) {
    walk.grants.Add(info.owner_text, kOfOwners, "owner");
  }
  return std::move(walk.grants).Take();
}

bool IsInTrustee(std::string_view sid, std::string_view trustee) {
  if (sid == trustee) return true;
  // Packaged programs have what is granted to them by name alone.
  if (sid.starts_with("S-1-15-2-")) return trustee == "S-1-15-2-1";
  if (sid.starts_with("S-1-15-") || sid.starts_with("S-1-16-")) return false;
  if (trustee == kEveryone) return sid != "S-1-5-7";
  if (trustee == "S-1-5-11") return sid.starts_with("S-1-5-21-") || sid == "S-1-5-32-545";
  return trustee == "S-1-5-80-0" && sid.starts_with("S-1-5-80-");
}

std::string TitleOfAccess(const AccessQuery& query) {
  const std::string who = query.sid.empty() ? "anyone but administrators" : query.sid;
  return "Who may write where: " + who;
}

std::string SidOfName(std::span<const HiveSid> sids, std::string_view name) {
  std::vector<std::string_view> found;
  for (const HiveSid& each : sids) {
    if (each.name.empty()) continue;
    if (EqualIgnoringCase(each.name, name)) return each.sid;
    const std::string_view bare = std::string_view(each.name).substr(each.name.rfind('\\') + 1);
    if (EqualIgnoringCase(bare, name)) found.push_back(each.sid);
  }
  return found.size() == 1 ? std::string(found.front()) : std::string();
}

std::vector<HiveSid> SidsOfHive(const HiveImage& hive, const KeyTree& tree) {
  constexpr size_t kMostRecords = 20'000;
  constexpr size_t kMostSids = 2000;
  // All records are in one ring, which the root key's is part of. A damaged ring may lead back into
  // itself elsewhere than at its start, or nowhere: each record is read once, and the SIDs of those
  // that were reached will do for a choice.
  std::vector<HiveSid> sids;
  std::unordered_set<std::string> known;
  std::unordered_set<uint32_t> seen;
  const auto add = [&](const std::string& sid) {
    if (sid.empty() || sids.size() == kMostSids || !known.insert(sid).second) return;
    sids.push_back({sid, NameOf(sid)});
  };
  AceReads reads = MakeAceReads(hive);
  const ByteView image = ImageBytes(hive);
  uint32_t record = tree.items.empty() ? kNoOffset : SecurityOfKey(hive, tree.items[0].position);
  while (record != kNoOffset && seen.size() < kMostRecords && seen.insert(record).second) {
    SecurityRecordInfo info;
    if (!ReadSecurityRecord(image, record, info)) break;
    add(info.owner_text);
    const uint32_t most = AcesToRead(info.dacl, reads);
    ForEachAce(image, info.dacl, nullptr, [&](const AceInfo& ace, uint32_t index) {
      if (index < most && ace.valid) add(ace.sid_text);
      return index < most;
    });
    record = ReadOffset(hive, record + kSecurityNext);
  }
  // Those with a name first, by name; then the others by number.
  std::ranges::sort(sids, {}, [](const HiveSid& each) {
    return std::pair(each.name.empty(), each.name.empty() ? each.sid : each.name);
  });
  return sids;
}

}  // namespace hivequarry
