// Security identifiers (SIDs): their binary form, their text form, and the accounts they name.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "lists/output_list.h"

namespace hivequarry {

// A binary SID: revision (1), count of sub-authorities (at most 15), authority (6 bytes, most
// significant first), sub-authorities (32 bits each).
inline constexpr size_t kSidHeader = 8;
inline constexpr size_t kMaxSidSize = kSidHeader + size_t{15} * 4;
inline constexpr uint32_t kSidTextRoom = 520;   // characters that lists have for a SID's text
inline constexpr size_t kLongestKnownSid = 12;  // characters of the longest text in the table

// Bytes of the SID at the start of `bytes`; 0 when there is no valid one or it is cut off.
size_t SidLength(std::span<const uint8_t> bytes);

// The text of the SID at the start of `bytes`, "S-1-5-18"; the revision is written as 1. False and
// an empty text for an invalid SID, or when `capacity` (characters) is less than the room needed,
// 12 for each sub-authority and 28; the room needed is then written there.
bool SidToText(std::span<const uint8_t> bytes, uint32_t& capacity, std::string& text);
// The same with room enough; empty for an invalid SID.
std::string SidText(std::span<const uint8_t> bytes);
// The SID of a text as SidToText writes it; empty for any other text.
// Exactly the SID: no other text gives the same bytes.
std::vector<uint8_t> SidOfText(std::string_view text);

// A SID that is the same on every machine. Texts last as long as the program.
struct WellKnownSid {
  const char* text;
  const char* domain;
  const char* name;
  char kind;  // letter of the kind of account
};
// Null when the table does not have it. Compared exactly.
const WellKnownSid* LookupWellKnownSid(std::string_view text);
std::span<const WellKnownSid> WellKnownSidTable();
// The system's number of a kind by its letter, and the name of a number.
// 1 user, 2 group, 3 domain, 4 alias, 5 well-known group, 6 deleted, 7 invalid, 8 unknown: also for
// any letter or number that is none of these.
int AccountKindOfLetter(char letter);
const char* AccountKindName(int kind);

// The account that a SID names: with `resolve` what this machine says, else, or when the machine
// knows no such account, the table's name, then in parentheses. With `domain` domain and name come
// apart, else as "DOMAIN\name". False and empty texts when there is none.
bool AccountNameOfSid(std::span<const uint8_t> sid, std::string_view text, bool resolve,
                      std::string& name, std::string* domain = nullptr);
// True when lists and reports ask for the name of a SID at all: without `resolve` only texts as
// short as the table's are asked for.
bool AsksForName(std::string_view text, bool resolve);

// The name that a SID was made from: of a service ("NT SERVICE") or of what a packaged program may
// do ("APPLICATION PACKAGE AUTHORITY"); such SIDs are hashes of names, so those of known names are
// recognised on every machine. Null texts for any other SID.
struct HashedName {
  const char* domain = nullptr;
  const char* name = nullptr;
};
HashedName LookupHashedSid(std::string_view text);
// The SID of a service by its name, in capitals or not (ASCII alone).
std::string ServiceSid(std::string_view service);

struct AccountName {
  std::string name;    // empty for none
  std::string domain;  // may be empty with a name too
};
// Of those who may do anything anyway: the system, its installer and administrators, by whatever
// domain. An entry for the later creator of a key is for nobody yet, and counts as such.
bool IsAdministrator(std::string_view sid_text);

// What lists and reports show beside a SID. Answers are remembered by text, as a hive names few
// SIDs many times. What is returned lives as long as the object.
// One thread; several walks have one each.
class AccountNames {
 public:
  // With `apart` domain and name come apart, else the name is "DOMAIN\name".
  explicit AccountNames(bool resolve, bool apart = false) : resolve_(resolve), apart_(apart) {}
  // Never asks this machine, which can take long: a SID that it would be asked for has the table's
  // name, if any, and its text goes to `wanted`.
  AccountNames(bool resolve, std::vector<std::string>& wanted)
      : resolve_(resolve), wanted_(&wanted) {}
  // Of the first the name alone. The text is that of a SID; for any other the name is empty.
  bool resolves() const { return resolve_; }
  const std::string& Of(const std::string& sid_text) { return AccountOf(sid_text).name; }
  const AccountName& AccountOf(const std::string& sid_text);

 private:
  bool resolve_;
  bool apart_ = false;
  std::vector<std::string>* wanted_ = nullptr;
  std::unordered_map<std::string, AccountName> known_;  // by the SID's text: each is asked for once
};

// The built-in groups that this machine knows (identifiers 544 to 1023), a row each.
// Asks the machine for each, which may take long; ends early when the user stops.
void ListBuiltinAliases(OutputList& list);  // kListLocalGroups

}  // namespace hivequarry
