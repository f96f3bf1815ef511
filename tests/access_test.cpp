// Who may write where: what records grant, SIDs that are hashes of names, and the list.
#include <gtest/gtest.h>

#include "host/number_text.h"
#include "security/descriptor.h"
#include "security/security_lists.h"
#include "security/sid.h"
#include "tests/support/cell_writer.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

constexpr const char* kEveryone = "S-1-1-0";
constexpr const char* kAdmins = "S-1-5-32-544";
constexpr const char* kUsers = "S-1-5-32-545";
constexpr const char* kUser = "S-1-5-21-1-2-3-1001";
constexpr const char* kPackages = "S-1-15-2-1";

std::string GrantsText(const char* owner, const std::vector<Ace>& dacl, bool listed = true) {
  Bytes cell = CellOfDescriptor(SecurityDescriptor(owner, kAdmins, dacl));
  if (!listed) cell[26] = static_cast<uint8_t>(cell[26] & ~4);
  SecurityRecordInfo info;
  EXPECT_TRUE(ReadSecurityRecord(cell, 0, info));
  std::string text;
  for (const AccessGrant& grant : GrantsOf(cell, info)) {
    text += Concat({grant.sid, " 0x", Hex(grant.rights), " ", grant.by, "; "});
  }
  return text;
}

TEST(Access, WhatARecordGrants) {
  const struct {
    const char* what;
    const char* owner;
    std::vector<Ace> dacl;
    const char* grants;
  } cases[] = {
      {"rights of two entries add up",
       kAdmins,
       {{0, 0, 2, kUsers}, {0, 0, 4, kUsers}},
       "S-1-5-32-545 0x6 allow; S-1-5-32-544 0x60000 owner; "},
      {"generic rights are what they stand for",
       kAdmins,
       {{0, 0, 0x40000000, kUsers}},
       "S-1-5-32-545 0x20006 allow; S-1-5-32-544 0x60000 owner; "},
      {"denied before",
       kAdmins,
       {{1, 0, 2, kUsers}, {0, 0, 6, kUsers}},
       "S-1-5-32-545 0x4 allow; S-1-5-32-544 0x60000 owner; "},
      {"denied to everyone",
       kAdmins,
       {{1, 0, 6, kEveryone}, {0, 0, 6, kUsers}},
       "S-1-5-32-544 0x60000 owner; "},
      {"denied too late",
       kAdmins,
       {{0, 0, 6, kUsers}, {1, 0, 2, kUsers}},
       "S-1-5-32-545 0x6 allow; S-1-5-32-544 0x60000 owner; "},
      {"for subkeys alone", kAdmins, {{0, 0x0A, 6, kUsers}}, "S-1-5-32-544 0x60000 owner; "},
      {"an audit is no right", kAdmins, {{2, 0, 6, kUsers}}, "S-1-5-32-544 0x60000 owner; "},
      {"an entry says what the owner may",
       kUser,
       {{0, 0, 2, "S-1-3-4"}},
       "S-1-5-21-1-2-3-1001 0x2 owner's entry; "},
      {"by an entry and as the owner",
       kUser,
       {{0, 0, 2, kUser}},
       "S-1-5-21-1-2-3-1001 0x60002 allow, owner; "},
      {"on a condition",
       kAdmins,
       {{9, 0, 2, kUsers}},
       "S-1-5-32-545 0x2 allow, on a condition; S-1-5-32-544 0x60000 owner; "},
  };
  for (const auto& c : cases) EXPECT_EQ(GrantsText(c.owner, c.dacl), c.grants) << c.what;
  EXPECT_EQ(GrantsText(kAdmins, {{0, 0, 2, kUsers}}, false), "S-1-1-0 0xF003F no list; ");
}

TEST(Access, TrusteesThatASidIsIn) {
  const struct {
    const char* sid;
    const char* trustee;
    bool in;
  } cases[] = {
      {kUser, kUser, true},
      {kUser, kEveryone, true},
      {kUser, "S-1-5-11", true},
      {kUser, kUsers, false},  // nothing in the hive says so
      {kPackages, kEveryone, false},
      {"S-1-15-2-1-2-3", kPackages, true},
      {"S-1-15-3-1", kPackages, false},
      {"S-1-5-80-1-2-3-4-5", "S-1-5-80-0", true},
      {"S-1-5-7", kEveryone, false},
  };
  for (const auto& c : cases) EXPECT_EQ(IsInTrustee(c.sid, c.trustee), c.in) << c.sid << c.trustee;
  for (const char* sid : {"S-1-5-18", kAdmins, "S-1-3-0", "S-1-5-21-1-2-3-500",
                          "S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464"}) {
    EXPECT_TRUE(IsAdministrator(sid)) << sid;
  }
  for (const char* sid : {"", kUser, kUsers, kEveryone, "S-1-5-21-1-2-3-1500", "S-1-5-19"}) {
    EXPECT_FALSE(IsAdministrator(sid)) << sid;
  }
}

TEST(Access, SidsThatAreHashesOfNames) {
  constexpr const char* kInstaller =
      "S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";
  EXPECT_EQ(ServiceSid("trustedinstaller"), kInstaller);
  const struct {
    const char* sid;
    const char* name;
  } cases[] = {
      {kInstaller, "NT SERVICE\\TrustedInstaller"},
      {"S-1-15-3-1024-1065365936-1281604716-3511738428-1654721687-432734479-3232135806-4053264122-"
       "3456934681",
       "APPLICATION PACKAGE AUTHORITY\\registryRead"},
      {"S-1-5-80-1-2-3-4-5", ""},
      {kPackages, "APPLICATION PACKAGE AUTHORITY\\ALL APPLICATION PACKAGES"},
      {"S-1-5-32-578", "BUILTIN\\Hyper-V Administrators"},
  };
  AccountNames names(false);
  for (const auto& c : cases) EXPECT_EQ(names.Of(c.sid), c.name) << c.sid;
}

std::string RowText(const OutputList& list, uint32_t row) {
  std::string text;
  for (const int column : {0, 1, 2, 3, 4}) text += std::string(CellText(list, row, column)) + "|";
  return text;
}

TEST(Access, KeysAndThoseWhoMayChangeThem) {
  HiveBuilder builder;
  const uint32_t open = builder.AddSecurity(SecurityDescriptor(
      kAdmins, kAdmins, {{0, 0, 0xF003F, kAdmins}, {0, 0, 6, kUsers}, {0, 0, 1, kEveryone}}));
  const uint32_t own = builder.AddSecurity(SecurityDescriptor(kUser, kUser, {}));
  builder.Key("A").Security(open);
  builder.Key("A\\B").Security(own);
  builder.Key("C");
  BuiltHive built = builder.Build();
  const auto list = [&](const AccessQuery& query) {
    OpenedHive opened(built);
    const OutputListPtr rows = MakeOutputList(kListWhoMayWrite);
    ListWhoMay(opened.hive, opened.tree, 0, query, {}, *rows);
    Texts texts;
    for (uint32_t row = 0; row < RowCount(*rows); ++row) {
      const std::string text = RowText(*rows, row);
      texts.push_back(text.substr(text.find('\\') == std::string::npos ? 0 : text.find('\\')));
    }
    return texts;
  };
  EXPECT_EQ(list({"", kChangeRights}),
            (Texts{"\\A|S-1-5-32-545|BUILTIN\\Users|set value, create subkey|allow|",
                   "\\A\\B|S-1-5-21-1-2-3-1001||read control, write dac|owner|"}));
  EXPECT_EQ(list({"", 4}),
            (Texts{"\\A|S-1-5-32-545|BUILTIN\\Users|set value, create subkey|allow|"}));
  EXPECT_EQ(list({kUser, 1}), (Texts{"\\A|S-1-1-0|Everyone|query value|allow|"}));
  EXPECT_EQ(list({kAdmins, kChangeRights}).size(), 3u);
  // A record that can't be read lets nobody be left out in silence.
  built.SetU32(built.PositionOf("C"), field::kKeySecurity, 8);
  EXPECT_EQ(list({"", 4}).back(), "\\C||||record can't be read|");
  OpenedHive opened(built);
  const std::vector<HiveSid> sids = SidsOfHive(opened.hive, opened.tree);
  ASSERT_EQ(sids.size(), 5u);
  EXPECT_EQ(sids[0].name, "BUILTIN\\Administrators");
  EXPECT_EQ(sids[4].sid, kUser);
}

TEST(Access, SidsByName) {
  const std::vector<HiveSid> sids = {{"S-1-1", "Users"},    {"S-1-2", "A\\Users"},
                                     {"S-1-3", "A\\Dhcp"},  {"S-1-4", "B\\Twice"},
                                     {"S-1-5", "C\\twice"}, {"S-1-6", ""}};
  const struct {
    const char* name;
    const char* sid;
  } cases[] = {{"users", "S-1-1"},    {"a\\USERS", "S-1-2"}, {"dhcp", "S-1-3"}, {"Twice", ""},
               {"c\\Twice", "S-1-5"}, {"B\\Dhcp", ""},       {"", ""}};
  for (const auto& c : cases) EXPECT_EQ(SidOfName(sids, c.name), c.sid) << c.name;
}

}  // namespace
}  // namespace hivequarry::testing
