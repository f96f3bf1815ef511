// Security records and the keys that use them, as Output Lists. All walks run on a worker, add rows
// to an empty list as they go, and end early when the user stops. Each record is decoded once for
// all the keys that share it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hive/key_tree.h"
#include "lists/output_list.h"
#include "security/descriptor.h"

namespace hivequarry {

// Kept by reference while a walk runs.
struct SecurityListOptions {
  bool resolve = false;  // ask this machine for the names of accounts
  SidReplacement replace;
};

// The "sk" cells that the data area holds, in use by keys or not: kListSecurityScan, a row a
// record, its datum the record's position. Records that can't be decoded or have no owner give no
// row.
// Ascending by position; a linear scan at steps of 4 bytes, since a damaged hive may have lost the
// 8-byte step. Freed cells are passed over.
void ScanSecurityCells(const HiveImage& hive, const SecurityListOptions& options, OutputList& list);
// Their entries: kListAces, a row an entry; datum: the record's position. A list with a seventh
// column (AceListWithDetails) gets the running row number there.
void ListAces(const HiveImage& hive, const SecurityListOptions& options, OutputList& list);
OutputListPtr MakeAceList(bool details);

// What a key's record must be to be found.
// The numbers are those of the commands that ask for it.
enum class SecurityMode : int {
  kRecord = 4900,
  kOwner = 4901,
  kAce = 4902,
  kPermissions = 4906,
};
// Types of entries that can be asked for. kOther: any type above those of the first three.
enum class AceKind : uint8_t { kAllow, kDeny, kAudit, kOther };
// What entries of one record must grant, deny or audit.
struct PermissionQuery {
  std::string sid;  // empty: whoever
  AceKind kind = AceKind::kAllow;
  uint32_t rights = 0;         // wanted, all of them
  bool not_inherited = false;  // "INHERITED_ACE flag not set"
};
// Defined in security_rows.h; whoever has no walk passes null.
struct AceReads;

// Of the fields those of its mode count alone.
struct SecurityQuery {
  SecurityMode mode = SecurityMode::kRecord;
  uint32_t record = kNoOffset;  // position, for kRecord
  std::string sid;              // for kOwner and kAce
  PermissionQuery permissions;
};
// Rights after the dialog's preset buttons (bits of the access mask).
inline constexpr uint32_t kFullControl = 0xF003F;
inline constexpr uint32_t kReadRights = 0x20019;
inline constexpr uint32_t kWriteRights = 0x20006;

// True when the record grants (denies, ...) what the query asks for. `reads`, unless null, bounds
// the entries that a walk over many records reads.
// Rights that several entries for the same question grant add up; generic rights count as what they
// are on a key. Damaged entries grant nothing.
bool MatchesPermissions(ByteView image, const SecurityRecordInfo& info,
                        const PermissionQuery& query, const SidReplacement* replace = nullptr,
                        AceReads* reads = nullptr);
bool MatchesQuery(ByteView image, const SecurityRecordInfo& info, const SecurityQuery& query,
                  const SidReplacement* replace = nullptr, AceReads* reads = nullptr);
// "Keys with Owner Sid S-1-5-18": the title of the query's list. Needs the image for the record's
// offset.
std::string TitleOfQuery(const HiveImage& hive, const SecurityQuery& query);

// What is said of a key whose record can't be decoded: "Invalid security key at 0x%X" with the
// record's offset. `position` may be kNoOffset.
std::string InvalidRecordText(const HiveImage& hive, uint32_t position);
// The keys from `item` down whose record matches: kListSecurityKeys; datum: the key's position. In
// the mode kRecord the record need not be decodable.
void FindKeysBySecurity(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                        const SecurityQuery& query, const SecurityListOptions& options,
                        OutputList& list);
// Who may change what, or do something else with it.
struct AccessQuery {
  std::string sid;      // whoever this is, by entries for itself or for a group that it is in
                        // (Everyone, Authenticated Users ...); empty: anyone but administrators
  uint32_t rights = 0;  // any of them
};
// All by which a key, its values or its rights can be changed.
inline constexpr uint32_t kChangeRights = 0xD0026;
// A trustee of a record, with what it may do with the key itself.
struct AccessGrant {
  std::string sid;      // of the trustee
  uint32_t rights = 0;  // generic ones as what they stand for
  std::string by;       // how it comes by them: "allow", "owner", "no list"
};
// What a record grants, in the order of its entries. A denying entry takes from the later ones for
// the same trustee, and one for Everyone from all later ones. What is only passed on to subkeys is
// left out.
std::vector<AccessGrant> GrantsOf(ByteView image, const SecurityRecordInfo& info,
                                  const SidReplacement* replace = nullptr,
                                  AceReads* reads = nullptr);
// True when the rights of a trustee are those of a SID too.
bool IsInTrustee(std::string_view sid, std::string_view trustee);
// The keys from `item` down with those that may do what is asked for: kListWhoMayWrite, a row for
// each trustee of a key; datum: the key's position. Each record is judged once.
void ListWhoMay(const HiveImage& hive, const KeyTree& tree, uint32_t item, const AccessQuery& query,
                const SecurityListOptions& options, OutputList& list);
std::string TitleOfAccess(const AccessQuery& query);

// The SIDs that the records of a hive name, as far as the chain from the root's record leads to
// them, with names by the table: at most 2000, each once, of the first 20,000 records.
struct HiveSid {
  std::string sid;   // "S-1-..."
  std::string name;  // empty for none
};
std::vector<HiveSid> SidsOfHive(const HiveImage& hive, const KeyTree& tree);
// The SID that has the name, with its domain or, where one alone is called so, without it; empty
// for a name that none or several have.
std::string SidOfName(std::span<const HiveSid> sids, std::string_view name);

// The records that the keys from `item` down use, with the number of those keys: kListUsedRecords;
// datum: the record's position.
void ListUsedRecords(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                     const SecurityListOptions& options, OutputList& list);
// The keys whose records can be decoded with their owners (kListKeyOwners), and the keys with their
// records, decodable or not (kListRecordKeys); datum: the key's position.
void ListKeyOwners(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                   const SecurityListOptions& options, OutputList& list);
void ListRecordKeys(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                    const SecurityListOptions& options, OutputList& list);

// The record's position of a key; kNoOffset when its cell names none.
// It may lie outside the image, and need not be a record.
uint32_t SecurityOfKey(const HiveImage& hive, uint32_t key_position);

// What a row of one of these lists speaks of, from its texts and datum.
struct SecurityRow {
  uint32_t record = kNoOffset;  // position
  std::string owner;            // SID text, empty where the row has none
  std::string ace;              // trustee of an ACE row
};
// Empty for a row of any other kind of list.
SecurityRow ReadSecurityRow(const HiveImage& hive, const OutputList& list, uint32_t row);

}  // namespace hivequarry
