#include <algorithm>
#include <array>
#include <unordered_map>
#include <vector>

#include "hive/keys.h"
#include "hive/layer_stack.h"
#include "hive/timestamp.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "security/security_lists.h"
#include "security/security_rows.h"
#include "security/sid.h"

namespace hivequarry {
namespace {

constexpr int kFirstDatedYear = 1901;
constexpr int kLastDatedYear = 2099;

// A record as one walk knows it.
struct KnownRecord {
  uint32_t position = 0;
  bool decoded = false;
  bool matches = false;  // a query that is asked once
  uint32_t aces = 0;
  uint32_t keys = 0;  // that use it, as far as the walk has come
  std::string owner;
  const AccountName* account = nullptr;
};

// The records that the keys of a walk name, each decoded when the first key names it. A million
// keys share a few dozen.
class KnownRecords {
 public:
  // `apart`: domain and name of the accounts come apart.
  KnownRecords(const HiveImage& hive, const SecurityListOptions& options, bool apart = false)
      : hive_(hive), options_(options), names_(options.resolve, apart) {}

  // What the next call gives may move it. `judge(info)` decides about a record once.
  template <typename Judge>
  KnownRecord& At(uint32_t position, const Judge& judge) {
    const auto [entry, added] =
        index_.try_emplace(position, static_cast<uint32_t>(records_.size()));
    if (added) records_.push_back(Read(position, judge));
    return records_[entry->second];
  }
  KnownRecord& At(uint32_t position) {
    return At(position, [](const SecurityRecordInfo&) { return false; });
  }
  // In the order in which the walk met them.
  const std::vector<KnownRecord>& All() const { return records_; }

 private:
  template <typename Judge>
  KnownRecord Read(uint32_t position, const Judge& judge) {
    SecurityRecordInfo info;
    KnownRecord record;
    record.position = position;
    record.decoded = ReadSecurityRecord(ImageBytes(hive_), position, info, &options_.replace);
    record.matches = record.decoded && judge(info);
    record.aces = info.dacl.count + info.sacl.count;
    record.account = &names_.AccountOf(info.owner_text);
    record.owner = std::move(info.owner_text);
    return record;
  }

  const HiveImage& hive_;
  const SecurityListOptions& options_;
  AccountNames names_;
  std::unordered_map<uint32_t, uint32_t> index_;  // into records_, by position
  std::vector<KnownRecord> records_;
};

// What the keys of a record show of those who may do what was asked for.
struct JudgedGrant {
  std::string sid;
  const AccountName* account = nullptr;  // null for none
  std::string rights;
  std::string by;
};
struct JudgedRecord {
  std::string owner;
  const AccountName* account = nullptr;
  std::vector<JudgedGrant> grants;
  uint32_t left_out = 0;  // grants that are more than a key shows
};

// Each record is judged when the first key names it.
class JudgedRecords {
 public:
  JudgedRecords(const HiveImage& hive, const AccessQuery& query, const SecurityListOptions& options)
      : hive_(hive),
        query_(query),
        options_(options),
        names_(options.resolve),
        reads_(MakeAceReads(hive)) {}

  const JudgedRecord& At(uint32_t position) {
    const auto [entry, added] = known_.try_emplace(position);
    if (added) Judge(position, entry->second);
    return entry->second;
  }

 private:
  bool Matches(const AccessGrant& grant) const {
    if ((grant.rights & query_.rights) == 0) return false;
    return query_.sid.empty() ? !IsAdministrator(grant.sid) : IsInTrustee(query_.sid, grant.sid);
  }

  // A list that would name more is none that a system made; a million keys may share it.
  void Judge(uint32_t position, JudgedRecord& record) {
    constexpr size_t kMostGrants = 32;
    SecurityRecordInfo info;
    const ByteView image = ImageBytes(hive_);
    const bool read = ReadSecurityRecord(image, position, info, &options_.replace);
    record.owner = info.owner_text;
    record.account = &names_.AccountOf(record.owner);
    if (!read) {
      record.grants.push_back({"", nullptr, "", "record can't be read"});
      return;
    }
    for (AccessGrant& grant : GrantsOf(image, info, &options_.replace, &reads_)) {
      if (!Matches(grant)) continue;
      if (record.grants.size() == kMostGrants) {
        ++record.left_out;
        continue;
      }
      const AccountName& account = names_.AccountOf(grant.sid);
      std::string rights = FormatAccessMask(grant.rights);
      record.grants.push_back(
          {std::move(grant.sid), &account, std::move(rights), std::move(grant.by)});
    }
  }

  const HiveImage& hive_;
  const AccessQuery& query_;
  const SecurityListOptions& options_;
  AccountNames names_;
  AceReads reads_;
  std::unordered_map<uint32_t, JudgedRecord> known_;  // by position
};

// Empty for years that no registry has been written in.
std::string KeyDate(uint64_t last_write) {
  const CalendarTime calendar = CalendarOfFileTime(last_write);
  const bool dated = calendar.year >= kFirstDatedYear && calendar.year <= kLastDatedYear;
  return dated ? FormatTimestamp(last_write, false) : std::string();
}

// What rows about a key are made of.
struct KeyCells {
  Cell path;
  Cell date;
  Cell offset;
};

// A walk over keys that name a record, in display order.
class KeyWalk {
 public:
  KeyWalk(const HiveImage& hive, const KeyTree& tree, OutputList& list)
      : hive_(hive), tree_(tree), list_(list), paths_(hive, tree) {}

  // `visit(item, record)`; `found()` counts what was found so far.
  template <typename Visit, typename Found>
  void Run(uint32_t from, const Visit& visit, const Found& found) {
    uint32_t keys = 0;
    for (uint32_t item = from; item < tree_.items[from].end && !StopRequested(); ++item) {
      if (!HasKeyCell(tree_, item)) continue;
      if (++keys % kKeysPerStatus == 0) ShowWalk(paths_.PathOf(item), keys, found());
      const uint32_t record = SecurityOfKey(hive_, tree_.items[item].position);
      if (record != kNoOffset) visit(item, record);
    }
    ShowStatus("");
  }
  template <typename Visit>
  void Run(uint32_t from, const Visit& visit) {
    Run(from, visit, [this] { return RowCount(list_); });
  }

  // `order(cells)` puts the cells of the row's columns in order.
  template <typename Order>
  void AddKey(uint32_t item, const Order& order) {
    const uint32_t position = tree_.items[item].position;
    RowFacts facts;
    facts.about_key = facts.of_record = true;
    facts.last_write = LastWriteOfKey(hive_, position);
    const std::string date = KeyDate(facts.last_write);
    const std::string offset = PlaceText(hive_, position);
    const KeyCells cells = {paths_.PathOf(item), {date, DateValue(facts.last_write)}, offset};
    facts.path = paths_.StoredPathOf(item);
    AddListRow(list_, order(cells), position, facts);
  }

 private:
  const HiveImage& hive_;
  const KeyTree& tree_;
  OutputList& list_;
  PathWalker paths_;
};

}  // namespace

uint32_t SecurityOfKey(const HiveImage& hive, uint32_t key_position) {
  if (!InsideHive(hive, key_position, kKeySecurity + 4)) return kNoOffset;
  return ReadOffset(hive, key_position + kKeySecurity);
}

void FindKeysBySecurity(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                        const SecurityQuery& query, const SecurityListOptions& options,
                        OutputList& list) {
  KnownRecords records(hive, options);
  KeyWalk walk(hive, tree, list);
  AceReads reads = MakeAceReads(hive);
  const bool by_record = query.mode == SecurityMode::kRecord;
  walk.Run(item, [&](uint32_t key, uint32_t position) {
    if (by_record && position != query.record) return;
    const KnownRecord& record = records.At(position, [&](const SecurityRecordInfo& info) {
      return MatchesQuery(ImageBytes(hive), info, query, &options.replace, &reads);
    });
    // The keys of a record that can't be decoded are asked for by its place alone.
    if (!record.matches && !by_record) return;
    const std::string place = TargetText(hive, position);
    walk.AddKey(key, [&](const KeyCells& cells) {
      return std::array<Cell, 6>{cells.path, record.owner, record.account->name,
                                 cells.date, cells.offset, place};
    });
  });
}

void ListUsedRecords(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                     const SecurityListOptions& options, OutputList& list) {
  KnownRecords records(hive, options);
  KeyWalk walk(hive, tree, list);
  // Rows are made when the numbers of keys are known: a row that is there may be being read.
  walk.Run(
      item, [&](uint32_t, uint32_t position) { ++records.At(position).keys; },
      [&] { return records.All().size(); });
  for (const KnownRecord& record : records.All()) {
    if (!record.decoded) continue;
    const std::string place = PlaceText(hive, record.position);
    AddListRow(list,
               {place,
                {std::to_string(record.keys), record.keys},
                {std::to_string(record.aces), record.aces},
                record.owner,
                record.account->name},
               record.position);
  }
}

void ListKeyOwners(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                   const SecurityListOptions& options, OutputList& list) {
  KnownRecords records(hive, options, true);
  KeyWalk walk(hive, tree, list);
  walk.Run(item, [&](uint32_t key, uint32_t position) {
    const KnownRecord& record = records.At(position);
    if (!record.decoded) return;
    walk.AddKey(key, [&](const KeyCells& cells) {
      return std::array<Cell, 5>{cells.path, record.owner, record.account->name,
                                 record.account->domain, cells.date};
    });
  });
}

void ListRecordKeys(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                    const SecurityListOptions&, OutputList& list) {
  KeyWalk walk(hive, tree, list);
  walk.Run(item, [&](uint32_t key, uint32_t position) {
    const std::string place = TargetText(hive, position);
    walk.AddKey(key, [&](const KeyCells& cells) {
      return std::array<Cell, 4>{cells.path, cells.date, cells.offset, place};
    });
  });
}

void ListWhoMay(const HiveImage& hive, const KeyTree& tree, uint32_t item, const AccessQuery& query,
                const SecurityListOptions& options, OutputList& list) {
  JudgedRecords records(hive, query, options);
  KeyWalk walk(hive, tree, list);
  walk.Run(item, [&](uint32_t key, uint32_t position) {
    const JudgedRecord& record = records.At(position);
    const std::string place = TargetText(hive, position);
    for (const JudgedGrant& grant : record.grants) {
      std::string_view account;
      if (grant.account != nullptr) account = grant.account->name;
      walk.AddKey(key, [&](const KeyCells& cells) {
        return std::array<Cell, 10>{
            cells.path,           grant.sid,  account,      grant.rights, grant.by, record.owner,
            record.account->name, cells.date, cells.offset, place};
      });
    }
    if (record.left_out != 0) NoteShortfall(Shortfall::kRows, record.left_out);
  });
}

SecurityRow ReadSecurityRow(const HiveImage& hive, const OutputList& list, uint32_t row) {
  SecurityRow result;
  const ListKindInfo& kind = FindListKind(ListKindOf(list));
  if (!IsListAbout(ListAbout::kSecurity, kind.kind)) return result;
  for (int column = 0; column < std::ssize(kind.columns); ++column) {
    const CellHolds holds = HoldsOf(kind, column);
    if (holds == CellHolds::kOwner) result.owner = CellText(list, row, column);
    if (holds == CellHolds::kTrustee) result.ace = CellText(list, row, column);
  }
  if (!RowHasDatum(list, row)) return result;
  const uint32_t datum = RowDatum(list, row);
  const bool record = kind.leads == RowLeads::kSecurityRecord;
  result.record = record ? datum : SecurityOfKey(hive, datum);
  return result;
}

}  // namespace hivequarry
