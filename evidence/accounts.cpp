// Users and groups of the machine's own accounts. A user is told three times: by the name of its
// key, in its record, and by the type of the value of a key with its name; where these differ
// somebody has hidden an account, or given it another one's number. Nothing that keeps a password
// is shown.
#include <algorithm>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "evidence/decode.h"
#include "host/case.h"
#include "host/number_text.h"
#include "reports/report_run.h"
#include "security/sid.h"

namespace hivequarry {
namespace {

// Of the record "F" of a user, 80 bytes; times are FILETIME, UTC. What is between the
// fields below is not read:
//
//    8  8  last logon                      48  4  relative id
//   24  8  password set                    56  4  control bits
//   32  8  expires; the largest: never     64  2  wrong passwords since the last logon
//   40  8  last wrong password             66  2  logons
constexpr uint32_t kLastLogon = 8;
constexpr uint32_t kPasswordSet = 24;
constexpr uint32_t kExpires = 32;
constexpr uint32_t kLastWrong = 40;
constexpr uint32_t kNumber = 48;
constexpr uint32_t kControl = 56;
constexpr uint32_t kWrongCount = 64;
constexpr uint32_t kLogons = 66;
// Up to the end of the last field that is read: a record that was cut after it still counts.
constexpr size_t kFixed = 68;
constexpr uint64_t kNever = 0x7FFFFFFFFFFFFFFF;

// Of "V": a table of twelve bytes for each text, up to kTexts: 4 offset, 4 length in bytes, 4 a
// third number that is not looked at. Below is where the entry of each text begins. Offsets count
// from kTexts on, where the table ends. Texts are UTF-16 without a zero at their end.
constexpr uint32_t kNameField = 0x0C;
constexpr uint32_t kFullName = 0x18;
constexpr uint32_t kComment = 0x24;
constexpr uint32_t kHome = 0x48;
constexpr uint32_t kScript = 0x60;
constexpr uint32_t kProfile = 0x6C;
constexpr uint32_t kTexts = 0xCC;
// Entries of the same table: the hashes that passwords are told by, and their histories. What they
// lead to is neither read nor shown, also not by way of a text whose offset was made to lead there.
constexpr uint32_t kSecrets[] = {0x9C, 0xA8, 0xB4, 0xC0};

// Of "C" of a group: entries of the same form from kGroupName on, offsets counted from kGroupTexts
// on. That of the members leads to their SIDs; its third number is how many there are.
constexpr uint32_t kGroupName = 0x10;
constexpr uint32_t kGroupComment = 0x1C;
constexpr uint32_t kMembers = 0x28;
constexpr uint32_t kMemberCount = 0x30;
constexpr uint32_t kGroupTexts = 0x34;

// Keys of users and groups are named by eight hexadecimal digits; "Names" and the like are none.
std::optional<uint32_t> NumberOfKeyName(std::string_view name) {
  constexpr size_t kDigits = 8;
  if (name.size() != kDigits) return std::nullopt;
  uint32_t number = 0;
  for (const char c : name) {
    const uint32_t digit = DigitOf(static_cast<unsigned char>(c));
    if (digit > 15) return std::nullopt;
    number = number << 4 | digit;
  }
  return number;
}

// The part of a record that the entry at `at` tells, its offset counted from `base` on; a view into
// `data`. Nothing, with a note, for one that leads out of the record. In 64 bits, since a made-up
// offset would wrap.
ByteView FieldAt(ByteView data, uint32_t at, uint32_t base, EvidenceRow& row) {
  const uint64_t start = uint64_t{ReadU32(data, at)} + base;
  const uint64_t length = ReadU32(data, at + 4);
  if (length == 0) return {};
  if (start > data.size() || length > data.size() - start) {
    row.Note("a text lies beyond the record");
    return {};
  }
  return data.subspan(static_cast<size_t>(start), static_cast<size_t>(length));
}

// True for a text of "V" that a damaged or made-up record places over what is not to be shown.
bool IsSecret(ByteView v, uint32_t text) {
  const uint64_t start = ReadU32(v, text);
  const uint64_t end = start + ReadU32(v, text + 4);
  return std::ranges::any_of(kSecrets, [&](uint32_t secret) {
    const uint64_t secret_start = ReadU32(v, secret);
    const uint32_t length = ReadU32(v, secret + 4);
    return length != 0 && start < secret_start + length && secret_start < end;
  });
}

// The bits of the account's control field as this record has them; they are not those that the
// programming interface gives for an account.
std::string ControlText(uint32_t control) {
  constexpr struct {
    uint32_t bit;
    const char* word;
  } kBits[] = {{1, "disabled"},
               {2, "home folder required"},
               {4, "no password needed"},
               {8, "temporary duplicate"},
               {0x10, "normal"},
               {0x40, "interdomain trust"},
               {0x80, "workstation trust"},
               {0x100, "server trust"},
               {0x200, "password never expires"},
               {0x400, "locked"}};
  std::string text;  // after the number
  for (const auto& [bit, word] : kBits) {
    if ((control & bit) != 0) JoinText(text, word);
  }
  return Concat({HexText(control, 4), " ", text});
}

// An account by its name: the type of the key's default value is the account's number.
struct NamedKey {
  std::string name;
  EvidenceKey key;
};
// The keys below "Names", by the number that the type of their value is.
// The relative id of an account is the type of the value there, not in its data.
using NamedKeys = std::unordered_multimap<uint32_t, NamedKey>;
NamedKeys FindNames(EvidenceKeys& keys, EvidenceKey names) {
  NamedKeys found;
  for (const EvidenceKey key : keys.ChildrenOf(names)) {
    const EvidenceValue value = keys.ValueNamed(key, "");
    if (value.position != kNoOffset) found.emplace(value.type, NamedKey{keys.NameOf(key), key});
  }
  return found;
}

// Adds the cell of the last write of the key below "Names" that has the number, which is about when
// the account was made, and notes what of that key contradicts the name in the record. Of several
// such keys the one that is called like the record counts.
void AddNameKey(EvidenceRun& run, const NamedKeys& names, const std::string& name, uint32_t number,
                EvidenceRow& row) {
  const auto [first, last] = names.equal_range(number);
  if (first == last) {
    row.Empty().Note("no key below Names has this number");
    return;
  }
  const NamedKey* own = &first->second;
  for (auto at = first; at != last; ++at) {
    if (EqualIgnoringCase(at->second.name, name)) own = &at->second;
  }
  row.Time(run.keys.LastWriteOf(own->key));
  if (!EqualIgnoringCase(own->name, name)) {
    row.Note(Concat({"the key below Names is called \"", own->name, "\""}));
  }
  if (std::next(first) != last) row.Note("several keys below Names have this number");
}

// Rows of one key "Users": the numbered keys first, in the order of the tree, then the names that
// none of them has.
class UserList {
 public:
  UserList(EvidenceRun& run, EvidenceKey users)
      : run_(run),
        users_(users),
        names_key_(run.keys.ChildNamed(users, "Names")),
        names_(FindNames(run.keys, names_key_)) {}

  void Add() {
    for (const EvidenceKey key : run_.keys.ChildrenOf(users_)) {
      const std::optional<uint32_t> number = NumberOfKeyName(run_.keys.NameOf(key));
      if (number) AddUser(key, *number);
    }
    for (const EvidenceKey key : run_.keys.ChildrenOf(names_key_)) AddUnknownName(key);
  }

 private:
  void AddUser(EvidenceKey key, uint32_t number) {
    const std::vector<EvidenceValue> values = run_.keys.ValuesOf(key);
    const EvidenceValue* fixed = FindValue(values, "F");
    const EvidenceValue* texts = FindValue(values, "V");
    EvidenceRow row;
    const ByteView v = texts == nullptr ? ByteView() : ByteView(texts->data);
    if (texts == nullptr || !HasData(*texts, kTexts, row)) row.Note("no record of names");
    const std::string name = TextAt(v, kNameField, row);
    row.Text(name).Number(number).Text(TextAt(v, kFullName, row)).Text(TextAt(v, kComment, row));
    AddFixed(fixed, number, row);
    AddNameKey(run_, names_, name, number, row);
    row.Text(TextAt(v, kHome, row)).Text(TextAt(v, kScript, row)).Text(TextAt(v, kProfile, row));
    const EvidenceValue* hint = FindValue(values, "UserPasswordHint");
    row.Text(hint == nullptr ? std::string() : WideText(hint->data));
    numbers_.insert(number);
    // The record of names keeps what passwords are told by too, and is no part of the bytes.
    AddEvidence(run_, std::move(row), key, nullptr,
                fixed == nullptr ? ByteView() : ByteView(fixed->data));
  }

  static std::string TextAt(ByteView data, uint32_t at, EvidenceRow& row) {
    if (data.size() < kTexts) return {};
    if (IsSecret(data, at)) {
      row.Note("a text lies over a password's hash");
      return {};
    }
    return WideText(FieldAt(data, at, kTexts, row));
  }

  static void AddFixed(const EvidenceValue* fixed, uint32_t number, EvidenceRow& row) {
    if (fixed == nullptr || !HasData(*fixed, kFixed, row)) {
      // Control bits, four times, two counts.
      row.Empty(7).Note("no record of logons");
      return;
    }
    const ByteView data = fixed->data;
    row.Text(ControlText(ReadU32(data, kControl)));
    row.Time(ReadU64(data, kLastLogon)).Time(ReadU64(data, kPasswordSet));
    const uint64_t expires = ReadU64(data, kExpires);
    if (expires == kNever) {
      row.Text("never");
    } else {
      row.Time(expires);
    }
    row.Time(ReadU64(data, kLastWrong));
    row.Number(ReadU16(data, kLogons)).Number(ReadU16(data, kWrongCount));
    const uint32_t own = ReadU32(data, kNumber);
    if (own != number) {
      row.Note(Concat({"the record has the number ", std::to_string(own), ", the key ",
                       std::to_string(number)}));
    }
  }

  // A name whose number no user has.
  void AddUnknownName(EvidenceKey key) {
    const EvidenceValue value = run_.keys.ValueNamed(key, "");
    if (value.position != kNoOffset && numbers_.contains(value.type)) return;
    EvidenceRow row;
    row.Text(run_.keys.NameOf(key));
    if (value.position != kNoOffset) {
      row.Number(value.type).Note("no user has this number");
    } else {
      row.Empty().Note("the name has no number");
    }
    // The cells between number and the key's time.
    row.Empty(9).Time(run_.keys.LastWriteOf(key));
    AddEvidence(run_, std::move(row), key);
  }

  EvidenceRun& run_;
  EvidenceKey users_;
  EvidenceKey names_key_;
  NamedKeys names_;
  std::unordered_set<uint32_t> numbers_;  // of the users
};

// SIDs one after another without gaps, each as long as its own count of sub-authorities says.
std::string MembersText(ByteView members, uint32_t count, EvidenceRow& row) {
  std::string text;
  uint32_t found = 0;
  while (!members.empty()) {
    const size_t size = SidLength(members);
    if (size == 0) {
      row.Note("a member is no SID");
      break;
    }
    text += (text.empty() ? "" : ", ") + SidText(members.first(size));
    members = members.subspan(size);
    ++found;
  }
  if (found != count) {
    row.Note(Concat({"the record counts ", std::to_string(count), " members"}));
  }
  return text;
}

void AddGroup(EvidenceRun& run, EvidenceKey key, uint32_t number, const std::string& domain,
              const NamedKeys& names) {
  const EvidenceValue record = run.keys.ValueNamed(key, "C");
  EvidenceRow row;
  if (record.position == kNoOffset || !HasData(record, kGroupTexts, row)) {
    row.Empty().Number(number).Text(domain).Note("no record");
    AddEvidence(run, std::move(row), key);
    return;
  }
  const ByteView data = record.data;
  const std::string name = WideText(FieldAt(data, kGroupName, kGroupTexts, row));
  row.Text(name).Number(number).Text(domain);
  row.Text(WideText(FieldAt(data, kGroupComment, kGroupTexts, row)));
  const uint32_t count = ReadU32(data, kMemberCount);
  row.Number(count).Text(MembersText(FieldAt(data, kMembers, kGroupTexts, row), count, row));
  AddNameKey(run, names, name, number, row);
  AddEvidence(run, std::move(row), key, nullptr, data);
}

}  // namespace

void DecodeAccounts(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) UserList(run, place.key).Add();
}

void DecodeGroups(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) {
    const NamedKeys names = FindNames(run.keys, run.keys.ChildNamed(place.key, "Names"));
    const std::string domain = run.keys.NameOf(run.keys.ParentOf(place.key));
    for (const EvidenceKey key : run.keys.ChildrenOf(place.key)) {
      const std::optional<uint32_t> number = NumberOfKeyName(run.keys.NameOf(key));
      if (number) AddGroup(run, key, *number, domain, names);
    }
  }
}

}  // namespace hivequarry
