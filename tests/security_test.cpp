// Security records: SIDs and accounts, decoding, the texts, the lists, and the keys that use them.
#include <gtest/gtest.h>

#include <functional>

#include "host/long_operation.h"
#include "security/descriptor.h"
#include "security/security_lists.h"
#include "security/sid.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

constexpr const char* kEveryone = "S-1-1-0";
constexpr const char* kSystem = "S-1-5-18";
constexpr const char* kAdmins = "S-1-5-32-544";
constexpr const char* kUser = "S-1-5-21-1-2-3-1001";

Texts Rows(const OutputList& list, int first = 0, int last = kMaxColumns) {
  Texts rows;
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    std::string text;
    for (int column = first; column < std::min(last, ColumnCount(list)); ++column) {
      text += (text.empty() ? "" : "|") + std::string(CellText(list, row, column));
    }
    rows.push_back(text);
  }
  return rows;
}

// The rows that `fill` makes, of some columns.
Texts ListRows(int kind, int first, int last, const std::function<void(OutputList&)>& fill) {
  const OutputListPtr list = MakeOutputList(kind);
  fill(*list);
  return Rows(*list, first, last);
}

// One descriptor as an image of its own.
struct Lone {
  explicit Lone(const Bytes& descriptor) : cell(CellOfDescriptor(descriptor)) {}
  bool Read() { return ReadSecurityRecord(cell, 0, info); }
  Lone& Put(uint32_t at, uint32_t value) {
    PutU32(cell, at, value);
    return *this;
  }
  std::string Report(bool resolve = false) {
    return Read() ? FormatSecurityRecord(cell, info, 0, resolve) : "invalid";
  }
  HostRecorder host;
  Bytes cell;
  SecurityRecordInfo info;
};

bool Permits(const std::vector<Ace>& dacl, const PermissionQuery& query,
             const std::vector<Ace>& sacl = {}) {
  Lone lone(SecurityDescriptor(kSystem, kAdmins, dacl, sacl));
  return lone.Read() && MatchesPermissions(lone.cell, lone.info, query);
}

TEST(Security, SidsAndTheirTexts) {
  for (const char* text :
       {kEveryone, kAdmins, kUser, "S-1-5", "S-1-4294967295-0", "S-1-0x010000000000",
        "S-1-0x0123456789ab-4294967295", "S-1-5-1-2-3-4-5-6-7-8-9-10-11-12-13-14-15"}) {
    const Bytes sid = SidOfText(text);
    EXPECT_EQ(SidText(sid), text);
    EXPECT_EQ(SidLength(sid), sid.size());
  }
  EXPECT_EQ(SidOfText(kAdmins), Sid(kAdmins));
  for (const char* text :
       {"", "S-1-", "S-2-5", "S-1-5-", "S-1-05", "S-1-5-4294967296", "s-1-5", "S-1-0x000000000005",
        "S-1-4294967296", "S-1-5 ", "S-1-5-1-2-3-4-5-6-7-8-9-10-11-12-13-14-15-16"}) {
    EXPECT_TRUE(SidOfText(text).empty()) << text;
  }
  Bytes revised = Sid(kSystem);
  for (const auto& [revision, valid] : {std::pair(0, false), {2, false}, {0x11, true}}) {
    revised[0] = static_cast<uint8_t>(revision);
    EXPECT_EQ(SidText(revised), valid ? kSystem : "") << revision;
  }
  const Bytes sid = Sid(kSystem);
  EXPECT_EQ(SidLength({sid.data(), sid.size() - 1}), 0u) << "cut off";
}

TEST(Security, RoomForASidsText) {
  for (const auto& [text, room] : {std::pair("S-1-5", 28u), {kSystem, 40u}}) {
    uint32_t capacity = room - 1;
    std::string out = "before";
    EXPECT_FALSE(SidToText(SidOfText(text), capacity, out));
    EXPECT_EQ(capacity, room);
    EXPECT_EQ(out, "");
    EXPECT_TRUE(SidToText(SidOfText(text), capacity, out));
    EXPECT_EQ(out, text);
  }
}

TEST(Security, NamesOfAccounts) {
  HostRecorder host;
  host.accounts[Sid(kUser)] = {AccountAnswer::kFound, "PC", "Ann", 1};
  host.accounts[Sid(kEveryone)] = {AccountAnswer::kFound, "", "Alle", 5};
  host.accounts[Sid("S-1-5-7")] = {AccountAnswer::kFailed, "", "", 8};
  const auto name = [](const char* text, bool resolve, bool apart) {
    std::string account;
    std::string domain;
    AccountNameOfSid(SidOfText(text), text, resolve, account, apart ? &domain : nullptr);
    return apart ? account + "@" + domain : account;
  };
  EXPECT_EQ(name("S-1-5", false, false), "NT AUTHORITY");
  EXPECT_EQ(name(kSystem, false, false), "NT AUTHORITY\\SYSTEM");
  EXPECT_EQ(name("S-1-5-32-573", false, true), "Event Log Readers@BUILTIN");
  EXPECT_EQ(name(kUser, false, false), "");
  EXPECT_EQ(host.accounts_asked, 0);
  EXPECT_EQ(name(kSystem, true, false), "(NT AUTHORITY\\SYSTEM)");
  EXPECT_EQ(name(kSystem, true, true), "(SYSTEM)@(NT AUTHORITY)");
  EXPECT_EQ(name("S-1-2", true, true), "(Local Authority)@");
  EXPECT_EQ(name(kUser, true, false), "PC\\Ann");
  EXPECT_EQ(name(kEveryone, true, true), "Alle@");
  EXPECT_EQ(name("S-1-5-7", true, false), "") << "the table is for SIDs the machine doesn't know";
  EXPECT_EQ(name("S-1-5-21-9", true, false), "");
  AccountNames names(true);
  host.accounts_asked = 0;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(names.Of(kUser), "PC\\Ann");
  EXPECT_EQ(host.accounts_asked, 1);
  host.accounts[Sid(kAdmins)] = {AccountAnswer::kFound, "BUILTIN", "Admins", 4};
  EXPECT_EQ(ListRows(kListLocalGroups, 0, 5, ListBuiltinAliases),
            (Texts{"0x00000220|S-1-5-32-544|Admins|BUILTIN|4"}));
  EXPECT_STREQ(AccountKindName(AccountKindOfLetter('W')), "Well Known Group");
  EXPECT_STREQ(AccountKindName(AccountKindOfLetter('x')), "Unknown");
}

TEST(Security, WordsOfFlagsAndMasks) {
  const std::pair<int, const char*> kFlags[] = {{0, "this key only"},
                                                {0x0A, "subkeys only"},
                                                {0x0B, "subkeys only, object_inherit"},
                                                {0x20, "0x20"},
                                                {0x11, "object_inherit, inherited"},
                                                {0x22, "this key and subkeys,0x20"},
                                                {0xC4, "this container only, success, fail"}};
  for (const auto& [flags, words] : kFlags) {
    EXPECT_EQ(FormatInheritFlags(static_cast<uint8_t>(flags)), words);
  }
  const std::pair<uint32_t, const char*> kMasks[] = {{0, ""},
                                                     {0xF003F, "full control"},
                                                     {0x1FFFFF, "full control, synchronize"},
                                                     {0xF03FF, "full control, wow64_32"},
                                                     {0xFFFF, "all specific rights"},
                                                     {0x201FF, "all specific rights, read control"},
                                                     {0x2001F, "read, write"},
                                                     {0x20006, "write"},
                                                     {0xF0000, "all standard rights"},
                                                     {0x10000000, "generic all"},
                                                     {0x400, "0x400"},
                                                     {0x20400, "read control,0x400"},
                                                     {0x00000300, "wow64_64, wow64_32"}};
  for (const auto& [mask, words] : kMasks) EXPECT_EQ(FormatAccessMask(mask), words) << mask;
  EXPECT_EQ(AceTypeText(3) + AceTypeText(17), "alarm0x11");
}

TEST(Security, Report) {
  Lone lone(SecurityDescriptor(kAdmins, kUser, {{0, 2, 0xF003F, kAdmins}, {1, 0, 0x20019, kUser}},
                               {{2, 0xC0, 0x6, kUser}}));
  lone.host.accounts[Sid(kUser)] = {AccountAnswer::kFound, "PC", "Ann", 1};
  const std::string dacl =
      "\r\n\r\nDACL  : 2\r\n"
      "\r\nACE 01: allow, this key and subkeys\r\n        full control\r\n        S-1-5-32-544, ";
  EXPECT_EQ(lone.Report(),
            "Offset: 0x00000000\r\n"
            "\r\nOwner : S-1-5-32-544\r\n        BUILTIN\\Administrators"
            "\r\nGroup : S-1-5-21-1-2-3-1001" +
                dacl +
                "BUILTIN\\Administrators"
                "\r\nACE 02: deny, this key only\r\n        read\r\n        S-1-5-21-1-2-3-1001"
                "\r\n\r\nSACL  : 1\r\n"
                "\r\nACE 03: audit, success, fail\r\n        set value, create subkey\r\n"
                "        S-1-5-21-1-2-3-1001");
  const std::string resolved = lone.Report(true);
  EXPECT_NE(resolved.find("Group : S-1-5-21-1-2-3-1001\r\n        PC\\Ann\r\n\r\n"),
            std::string::npos);
  EXPECT_NE(resolved.find(dacl + "(BUILTIN\\Administrators)\r\n"), std::string::npos);
}

TEST(Security, ReportOfDamagedLists) {
  constexpr uint32_t kFirstDacl = kSecurityDescriptor + 20;  // without a SACL it is first
  const auto two = [] { return Lone(SecurityDescriptor(kSystem, kAdmins, {{}, {}})); };
  const auto tail = [](Lone& lone) {
    const std::string report = lone.Report();
    return report.substr(report.find("DACL"));
  };
  const std::string ace =
      ": allow, this key only\r\n        full control\r\n        S-1-5-18, "
      "NT AUTHORITY\\SYSTEM";
  const std::string none = "\r\n\r\nSACL  : 0\r\n";
  Lone absent = two();
  EXPECT_EQ(tail(absent.Put(kSecurityDescriptor + 16, 0)), "DACL  : 0\r\n" + none);
  Lone many = two();
  EXPECT_EQ(tail(many.Put(kFirstDacl + 4, 9)),
            "DACL  : 9\r\n\r\nACE 01" + ace + "\r\nACE 02" + ace + none);
  Lone broken = two();
  EXPECT_EQ(tail(broken.Put(kFirstDacl + 8 + 20, 0)),
            "DACL  : 2\r\n\r\nACE 01" + ace + "\r\nACE 02: Unclassified error.\r\n" + none);
  Lone allowing(SecurityDescriptor(kSystem, kAdmins, {}, {{}}));
  const std::string report = tail(allowing);
  EXPECT_NE(report.find("SACL  : 1\r\n\r\nACE 01: this key only\r\n"), std::string::npos);
}

TEST(Security, BoundsOfARecord) {
  struct Case {
    const char* what;
    uint32_t at, value;
    bool valid;
  };
  const Bytes descriptor = SecurityDescriptor(kSystem, kAdmins, {{}}, {{2, 0, 1, kSystem}});
  const auto size = static_cast<uint32_t>(24 + descriptor.size() + 7) & ~7U;
  const Case kCases[] = {
      {"sound", 0, 0U - size, true},
      {"free", 0, size, true},
      {"another signature", 4, 0x6B6E, false},
      {"no owner", 28, 0, false},
      {"owner at the cell's end", 28, size - 24, true},
      {"owner after it", 28, size - 23, false},
      {"owner before the descriptor", 28, 0xFFFFFFF8, false},
      {"no group", 32, 0, true},
      {"group after it", 32, size, false},
      {"group before", 32, 0xFFFFFFFF, false},
      {"list of access at the cell's start", 40, 0U - 16, true},
      {"before it", 40, 0U - 28, false},
      {"at its end", 40, size - 24, true},
      {"after it", 40, size - 23, false},
      {"list for auditing far away", 36, 0x10000000, true},
  };
  for (const Case& test : kCases) {
    Lone lone(descriptor);
    EXPECT_EQ(lone.Put(test.at, test.value).Read(), test.valid) << test.what;
    EXPECT_EQ(lone.info.owner != 0, test.valid) << "a failure leaves nothing: " << test.what;
  }
  Lone stopped(descriptor);
  BeginOperation(kOperationLoad);
  RequestStop();
  EXPECT_FALSE(stopped.Read());
  EndOperation();
  SidReplacement replace{kSystem, kUser, true, false, true};
  ReadSecurityRecord(stopped.cell, 0, stopped.info, &replace);
  AceInfo ace;
  ReadAce(stopped.cell, stopped.info.dacl.position + 8, ace, &replace);
  EXPECT_EQ(stopped.info.owner_text + ace.sid_text, std::string(kUser) + kUser);
  EXPECT_EQ(stopped.info.group_text, kAdmins);
}

TEST(Security, Permissions) {
  const auto query = [](const char* sid, AceKind kind, uint32_t rights, bool own = false) {
    return PermissionQuery{sid, kind, rights, own};
  };
  const PermissionQuery read = query(kEveryone, AceKind::kAllow, kReadRights);
  EXPECT_TRUE(Permits({{0, 0, 0x20019, kEveryone}}, read));
  EXPECT_TRUE(Permits({{0, 0, 0x20000, kEveryone}, {0, 0, 0x19, kEveryone}}, read));
  EXPECT_FALSE(Permits({{0, 0, 0x20000, kEveryone}, {0, 0, 0x19, kSystem}}, read));
  EXPECT_FALSE(Permits({{1, 0, 0x20019, kEveryone}}, read));
  EXPECT_FALSE(Permits({}, query("", AceKind::kAllow, 0))) << "no entry, no match";
  for (const uint32_t generic : {0x80000000u, 0x20000000u, 0x10000000u}) {
    EXPECT_TRUE(Permits({{0, 0, generic, kEveryone}}, read)) << generic;
  }
  EXPECT_FALSE(Permits({{0, 0, 0x40000000, kEveryone}}, read));
  EXPECT_TRUE(Permits({{0, 0, 0x40000000, kUser}}, query("", AceKind::kAllow, kWriteRights)));
  const std::vector<Ace> inherited = {{1, kAceInherited, 0xF003F, kUser}};
  EXPECT_TRUE(Permits(inherited, query(kUser, AceKind::kDeny, kFullControl)));
  EXPECT_FALSE(Permits(inherited, query(kUser, AceKind::kDeny, kFullControl, true)));
  // Audits match nothing; entries of other types match whatever they hold.
  const std::vector<Ace> audits = {{2, 0, 0xF003F, kUser}};
  EXPECT_FALSE(Permits(audits, query("", AceKind::kAudit, 1), audits));
  EXPECT_TRUE(Permits({{5, 0, 0, kUser}}, query("", AceKind::kAllow, kFullControl)));
  EXPECT_TRUE(Permits({{}}, query(kUser, AceKind::kOther, 1), {{3, 0, 0, kUser}}));
  EXPECT_FALSE(Permits({{0, 0, 1, kUser}}, query("", AceKind::kAllow, 2), {{3, 0, 0, kUser}}));
}

// A (record 0) > { B (1), C (0) }, D (1); one more record that no key uses.
struct Sample {
  Sample() {
    builder.AddSecurity(SecurityDescriptor(kUser, kSystem,
                                           {{0, 2, 0x20019, kEveryone}, {1, 0, 6, kUser}, {}},
                                           {{2, 0x40, 0xF003F, kSystem}}));
    builder.AddSecurity(SecurityDescriptor(kSystem, kSystem, {}));
    builder.Key("A\\B").Security(1).Time(FileTime(1950, 1, 2, 3, 4, 5));
    builder.Key("A\\C").Time(FileTime(1899, 1, 1));
    builder.Key("D").Security(1);
    built = builder.Build();
  }
  HiveBuilder builder;
  BuiltHive built;
};
std::string Place(uint32_t position) { return Formatted("0x%08X", position); }

TEST(Security, ScanOfRecordsAndEntries) {
  Sample sample;
  const std::vector<uint32_t> at = sample.built.securities;
  OpenedHive opened(sample.built);
  const auto scan = [](const HiveImage& hive, int last) {
    return ListRows(kListSecurityScan, 0, last,
                    [&](OutputList& list) { ScanSecurityCells(hive, {}, list); });
  };
  const std::string admins = "S-1-5-32-544|BUILTIN\\Administrators|";
  const std::string system = "S-1-5-18|NT AUTHORITY\\SYSTEM|";
  EXPECT_EQ(scan(opened.hive, 8), (Texts{Place(at[0]) + "|02|" + admins + system + "|",
                                         Place(at[1]) + "|04|" + kUser + "||" + system + "|",
                                         Place(at[2]) + "|00|" + system + system + "|"}));
  const OutputListPtr aces = MakeAceList(true);
  ListAces(opened.hive, {}, *aces);
  ASSERT_EQ(RowCount(*aces), 6u);
  const std::string label = Place(at[1]) + "  0";
  EXPECT_EQ(
      Texts({Rows(*aces)[2], Rows(*aces)[3], Rows(*aces)[5]}),
      (Texts{label + "1|allow|this key and subkeys|read|S-1-1-0|Everyone|00003",
             label + "2|deny|this key only|set value, create subkey|S-1-5-21-1-2-3-1001||00004",
             label + "4|audit|success|full control|S-1-5-18|NT AUTHORITY\\SYSTEM|00006"}));
  EXPECT_EQ(ReadSecurityRow(opened.hive, *aces, 2).ace, kEveryone);
  EXPECT_EQ(ReadSecurityRow(opened.hive, *aces, 2).record, at[1]);

  // Free cells, cells of 64 KB and more, and records without a sound owner give no row; a length
  // that is no multiple of 4 doesn't hide what follows.
  sample.built.Free(at[0]).SetU32(at[1], 0, 0U - sample.built.CellLength(at[1]) + 3);
  OpenedHive damaged(sample.built);
  EXPECT_EQ(scan(damaged.hive, 1), (Texts{Place(at[1]), Place(at[2])}));
  sample.built.SetU32(at[1], 0, 0xFFFF0000);
  sample.built.SetU8(at[2], kSecurityDescriptor + sample.built.U32(at[2], 28), 9);
  OpenedHive worse(sample.built);
  EXPECT_EQ(scan(worse.hive, 1), Texts());
}

TEST(Security, KeysOfRecords) {
  Sample sample;
  sample.built.SetU32(sample.built.PositionOf("D"), field::kKeySecurity, 8);  // no record there
  const std::vector<uint32_t> at = sample.built.securities;
  OpenedHive opened(sample.built);
  const auto find = [&](SecurityQuery query, const SidReplacement& replace = {}, int last = 1) {
    return ListRows(kListSecurityKeys, 0, last, [&](OutputList& list) {
      FindKeysBySecurity(opened.hive, opened.tree, 0, query, {false, replace}, list);
    });
  };
  const std::string root = opened.tree.root_text;
  const auto place = [&](const char* path) { return Place(sample.built.PositionOf(path)); };
  const Texts b = {root + "\\A\\B"};
  EXPECT_EQ(
      find({SecurityMode::kRecord, at[1], "", {}}, {}, 6),
      (Texts{b[0] + "|" + kUser + "||1950/01/02, 03:04:05|" + place("A\\B") + "|" + Place(at[1])}));
  EXPECT_EQ(find({SecurityMode::kOwner, 0, kAdmins, {}}),
            (Texts{root, root + "\\A", root + "\\A\\C"}));
  EXPECT_EQ(find({SecurityMode::kOwner, 0, "s-1-5-32-544", {}}), Texts());
  EXPECT_EQ(find({SecurityMode::kAce, 0, kEveryone, {}}), b);
  EXPECT_EQ(find({SecurityMode::kAce, 0, "S-1-2-0", {}}, {kEveryone, "S-1-2-0", 0, 0, true}), b);
  EXPECT_EQ(find({SecurityMode::kPermissions, 0, "", {kUser, AceKind::kDeny, 6, false}}), b);
  EXPECT_EQ(find({SecurityMode::kRecord, kDataArea + 8, "", {}}), (Texts{root + "\\D"}))
      << "asked for by its place alone";
  EXPECT_EQ(TitleOfQuery(opened.hive, {SecurityMode::kRecord, at[1], "", {}}),
            "Keys with security record " + Place(at[1] - kDataArea));

  const std::string admins = "|S-1-5-32-544|BUILTIN\\Administrators";
  EXPECT_EQ(
      ListRows(kListUsedRecords, 0, 5,
               [&](OutputList& list) { ListUsedRecords(opened.hive, opened.tree, 0, {}, list); }),
      (Texts{Place(at[0]) + "|3|2" + admins, Place(at[1]) + "|1|4|" + kUser + "|"}));
  EXPECT_EQ(ListRows(kListKeyOwners, 1, 5,
                     [&](OutputList& list) {
                       ListKeyOwners(opened.hive, opened.tree, opened.Item("A\\C"), {}, list);
                     }),
            (Texts{"S-1-5-32-544|Administrators|BUILTIN|"}))
      << "no date for a year of 1899";
  EXPECT_EQ(ListRows(kListRecordKeys, 2, 4,
                     [&](OutputList& list) {
                       ListRecordKeys(opened.hive, opened.tree, opened.Item("D"), {}, list);
                     }),
            (Texts{place("D") + "|" + Place(kDataArea + 8)}));
  HideBranch(opened.tree, opened.Item("A"));
  EXPECT_EQ(find({SecurityMode::kOwner, 0, kAdmins, {}}), (Texts{root}));
}

// Keys that are in bins of another hive, of which the one with the records is not there: what
// their offsets lead to is nowhere, and no number says that.
TEST(Security, RecordsThatAreNowhere) {
  HiveBuilder foreign("OTHER");
  for (int i = 0; i < 12; ++i) {
    foreign.Key("Foreign" + std::to_string(i)).Binary("data", 500);
  }
  Sample sample;
  const Bytes own = sample.builder.BinSize(65536).Build().bytes;
  const BuiltHive other = foreign.Build();
  const OpenedHive opened{std::span<const uint8_t>(
      Joined({own, std::span(other.bytes).subspan(other.BinPosition(1))}))};
  uint32_t nowhere = 0;
  const OutputListPtr links = MakeOutputList(kListRecordKeys);
  ListRecordKeys(opened.hive, opened.tree, 0, {}, *links);
  for (uint32_t row = 0; row < RowCount(*links); ++row) {
    const std::string_view place = CellText(*links, row, 3);
    nowhere += place == "nowhere";
    EXPECT_FALSE(place.starts_with("0xFFFFFF")) << place;
  }
  EXPECT_GT(nowhere, 5u);
  const uint32_t key =
      other.PositionOf("Foreign9") - other.BinPosition(1) + static_cast<uint32_t>(own.size());
  EXPECT_EQ(InvalidRecordText(opened.hive, SecurityOfKey(opened.hive, key)),
            "Invalid security key: its offset leads nowhere");
}

// Ten thousand records that all name one list of entries as short as can be.
TEST(Security, SharedListsTakeLinearTime) {
  constexpr uint32_t kSize = 1 << 20;
  constexpr uint32_t kList = kSize - 0x11000;
  Bytes bytes(kSize);
  for (uint32_t at = 0; at + 80 < kSize / 2; at += 48) {
    PutU32(bytes, at, 0U - 28);
    PutU32(bytes, at + 4, 0x6B73);
    PutU32(bytes, at + 24, 0x0100);  // the owner's SID is in the descriptor's first bytes
    PutU32(bytes, at + 28, 1);
    PutU32(bytes, at + 36, kList - (at + 24));
  }
  PutU32(bytes, kList, 0xFFFF0000);
  PutU32(bytes, kList + 4, 0xFFFF);
  for (uint32_t at = kList + 8; at < kSize; at += 4) PutU32(bytes, at, 0x00040000);
  HostRecorder host;
  const HiveImage hive = ImageOfBytes(bytes);
  const OutputListPtr list = MakeAceList(false);
  ListAces(hive, {}, *list);
  EXPECT_EQ(RowCount(*list), kSize / 8 + 0xFFFF / 8) << "less than the sum of the lists";
}

}  // namespace
}  // namespace hivequarry::testing
