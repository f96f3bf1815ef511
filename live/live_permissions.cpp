// Keys of the live registry by the permissions that their security descriptors grant.

#include <array>
#include <string>
#include <unordered_map>
#include <vector>

#include "hive/timestamp.h"
#include "host/host.h"
#include "live/live_keys.h"
#include "security/descriptor.h"
#include "security/sid.h"

namespace hivequarry {
namespace {

constexpr size_t kMostAnswers = 1024;  // kept; then they begin anew, to bound the memory

// What a query says of one descriptor: many keys have the same.
struct DescriptorAnswer {
  bool matches = false;
  std::string owner;
};

// What descriptors answer to a query. Few are different ones (nearly all of the class
// registrations, which are most of a machine's keys, share one), so each is decoded once.
class DescriptorAnswers {
 public:
  explicit DescriptorAnswers(const PermissionQuery& query) : query_(query) {}

  const DescriptorAnswer& Of(const std::string& descriptor) {
    const auto known = answers_.find(descriptor);
    if (known != answers_.end()) return known->second;
    if (answers_.size() >= kMostAnswers) answers_.clear();
    return answers_.emplace(descriptor, Decode(descriptor)).first->second;
  }

 private:
  // The reader of security records wants a cell: one is made around the descriptor.
  DescriptorAnswer Decode(const std::string& descriptor) const {
    const auto* bytes = reinterpret_cast<const uint8_t*>(descriptor.data());
    const std::vector<uint8_t> cell = CellOfDescriptor({bytes, descriptor.size()});
    SecurityRecordInfo info;
    if (!ReadSecurityRecord(cell, 0, info)) return {};
    return {MatchesPermissions(cell, info, query_), info.owner_text};
  }

  const PermissionQuery& query_;
  std::unordered_map<std::string, DescriptorAnswer> answers_;
};

void AddMatch(OutputList& list, const SourceKey& key, const std::string& owner,
              const std::string& account) {
  const int year = CalendarOfFileTime(key.last_write).year;
  std::string date;
  // Outside these years the time is no date that anybody set.
  if (year >= 1901 && year <= 2099) date = FormatTimestamp(key.last_write, false);
  AddLiveRow(list, {key.path, owner, account, {date, DateValue(key.last_write)}}, key);
}

// What a query needs to read.
struct Reading {
  uint32_t access = kRegistryRead | kRegistry64Bit;
  uint32_t parts = kOwnerInformation | kGroupInformation | kDaclInformation;
};

void FindKeys(uint32_t roots, const Reading& reading, const PermissionQuery& query, bool resolve,
              OutputList& list) {
  DescriptorAnswers answers(query);
  AccountNames accounts(resolve);
  LiveProgress progress;
  for (const std::string& path : PathsOfRoots(roots)) {
    RegistryWalk walk(path, reading.access);
    for (SourceKey key; walk.NextKey(key);) {
      progress.Count(key.path, list);
      if (walk.key() == 0) continue;
      const DescriptorAnswer& answer = answers.Of(ReadDescriptor(walk.key(), reading.parts));
      if (answer.matches) AddMatch(list, key, answer.owner, accounts.Of(answer.owner));
    }
  }
  ShowStatus("");
}

}  // namespace

bool FindLiveKeysByPermissions(uint32_t roots, const PermissionQuery& query, bool resolve,
                               OutputList& list) {
  Reading reading;
  // Entries that allow and deny are in the DACL, which needs no privilege; others may be in the
  // SACL.
  if (query.kind != AceKind::kAudit && query.kind != AceKind::kOther) {
    FindKeys(roots, reading, query, resolve, list);
    return true;
  }
  const EnabledPrivilege privilege(u"SeSecurityPrivilege");
  if (!privilege.held()) return false;
  reading.access |= kRegistrySystemSecurity;
  reading.parts |= kSaclInformation;
  FindKeys(roots, reading, query, resolve, list);
  return true;
}

}  // namespace hivequarry
