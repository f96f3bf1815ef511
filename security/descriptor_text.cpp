#include <span>

#include "hive/file_place.h"
#include "host/number_text.h"
#include "security/descriptor.h"
#include "security/sid.h"

namespace hivequarry {
namespace {

struct BitWord {
  uint32_t bits;
  const char* word;
};

// Flags of an entry: keys are containers, and have nothing in them that is none.
constexpr uint32_t kContainerInherit = 0x02;
constexpr BitWord kFlagWords[] = {{0x01, "object_inherit"},
                                  {kContainerInherit, "this key and subkeys"},
                                  {0x04, "this container only"},
                                  {kAceInheritOnly, "inherit only"},
                                  {kAceInherited, "inherited"},
                                  {0x0F, "valid_inherit"},
                                  {0x40, "success"},
                                  {0x80, "fail"}};

// Of each group of rights taken together the first that a mask holds whole gives its word.
// Rows are in the order in which they are tried, the widest first, so that single rights have words
// only where no wider word takes them.
constexpr BitWord kFullWords[] = {
    {0xFFFFF, "full control"}, {0xF01FF, "full control"}, {0xF003F, "full control"}};
constexpr BitWord kSpecificWords[] = {{0xFFFF, "all specific rights"},
                                      {0x1FF, "all specific rights"}};
constexpr BitWord kStandardWords[] = {{0xF0000, "all standard rights"},
                                      {0x2001F, "read, write"},
                                      {0x20019, "read"},
                                      {0x20006, "write"}};
constexpr BitWord kRightWords[] = {{0x00000001, "query value"},   {0x00000002, "set value"},
                                   {0x00000004, "create subkey"}, {0x00000008, "enumerate subkeys"},
                                   {0x00000010, "notify"},        {0x00000020, "create link"},
                                   {0x00000100, "wow64_64"},      {0x00000200, "wow64_32"},
                                   {0x00000300, "wow64_res"},     {0x00010000, "delete"},
                                   {0x00020000, "read control"},  {0x00040000, "write dac"},
                                   {0x00080000, "write owner"},   {0x00100000, "synchronize"},
                                   {0x10000000, "generic all"},   {0x20000000, "generic execute"},
                                   {0x40000000, "generic write"}, {0x80000000, "generic read"}};

std::string Hexadecimal(uint32_t value) { return Concat({"0x", Hex(value)}); }

// Moves the words of whole rows from the bits to the text: of every row, or of the first alone.
enum class RowsToMove : uint8_t { kFirst, kAll };
// Adds the words of rows all of whose bits are set, and takes those bits away, so that a
// combination is said once and its single bits are not said again. Bits without a word stay in
// `bits`.
void MoveWords(std::span<const BitWord> rows, RowsToMove which, uint32_t& bits, std::string& text) {
  for (const BitWord& row : rows) {
    if ((bits & row.bits) != row.bits) continue;
    if (!text.empty()) text += ", ";
    text += row.word;
    bits &= ~row.bits;
    if (which == RowsToMove::kFirst) return;
  }
}

// Bits without a word follow a comma without a blank, which tells them from words.
void AddLeftOver(uint32_t bits, std::string& text) {
  if (bits == 0) return;
  if (!text.empty()) text += ',';
  text += Hexadecimal(bits);
}

constexpr const char* kIndent = "        ";

// The report of one record under way.
struct RecordText {
  const ByteView image;
  AccountNames& names;
  std::string text;
};

void AddSid(RecordText& report, const char* label, const std::string& sid_text) {
  if (sid_text.empty()) return;
  report.text += label + sid_text;
  if (!AsksForName(sid_text, report.names.resolves())) return;
  report.text += "\r\n";
  report.text += kIndent + report.names.Of(sid_text);
}

// Three lines at most: type and inheritance, rights, account with its name where that is known.
void AddAce(RecordText& report, const AceInfo& ace, const std::string& type) {
  std::string& text = report.text;
  if (!type.empty()) text += type + ", ";
  text += FormatInheritFlags(ace.flags) + "\r\n";
  text += kIndent + FormatAccessMask(ace.mask) + "\r\n";
  if (ace.sid_text.empty()) return;
  text += kIndent + ace.sid_text;
  const std::string& name = report.names.Of(ace.sid_text);
  if (!name.empty()) text += ", " + name;
}

enum class Section : uint8_t { kDacl, kSacl };

// Numbers go on after `number`. Returns how many entries were written whole.
uint32_t AddAces(RecordText& report, Section section, const AclPlace& acl, uint32_t number) {
  uint32_t written = 0;
  ForEachAce(report.image, acl, nullptr, [&](const AceInfo& ace, uint32_t index) {
    report.text += Concat({"\r\nACE ", Decimal(number + index + 1, 2), ": "});
    if (!ace.valid || ace.size == 0) {
      report.text += "Unclassified error.\r\n";
      return false;
    }
    // An allowing entry has no business in a SACL, and gets no word there.
    const bool bare = section == Section::kSacl && ace.type == kAceAllow;
    AddAce(report, ace, bare ? std::string() : AceTypeText(ace.type));
    written = index + 1;
    return true;
  });
  return written;
}

}  // namespace

std::string FormatInheritFlags(uint8_t flags) {
  if (flags == 0) return "this key only";
  constexpr uint32_t kSubkeysOnly = kContainerInherit | kAceInheritOnly;
  std::string text;
  uint32_t bits = flags;
  if ((bits & kSubkeysOnly) == kSubkeysOnly) {
    text = "subkeys only";
    bits &= ~kSubkeysOnly;
  }
  MoveWords(kFlagWords, RowsToMove::kAll, bits, text);
  AddLeftOver(bits, text);
  return text;
}

std::string FormatAccessMask(uint32_t mask) {
  std::string text;
  MoveWords(kFullWords, RowsToMove::kFirst, mask, text);
  MoveWords(kSpecificWords, RowsToMove::kFirst, mask, text);
  MoveWords(kStandardWords, RowsToMove::kFirst, mask, text);
  MoveWords(kRightWords, RowsToMove::kAll, mask, text);
  AddLeftOver(mask, text);
  return text;
}

std::string AceTypeText(uint8_t type) {
  constexpr const char* kWords[] = {"allow", "deny", "audit", "alarm"};
  return type < std::size(kWords) ? kWords[type] : Hexadecimal(type);
}

std::string FormatSecurityRecord(ByteView image, const SecurityRecordInfo& info, uint32_t place,
                                 bool resolve) {
  AccountNames names(resolve);
  return FormatSecurityRecord(image, info, place, names);
}

std::string FormatSecurityRecord(ByteView image, const SecurityRecordInfo& info, uint32_t place,
                                 AccountNames& names) {
  RecordText report{image, names, {}};
  report.text += Concat({"Offset: 0x", Hex(place, 8), "\r\n"});
  AddSid(report, "\r\nOwner : ", info.owner_text);
  AddSid(report, "\r\nGroup : ", info.group_text);
  report.text += Concat({"\r\n\r\nDACL  : ", Decimal(info.dacl.count), "\r\n"});
  const uint32_t written = AddAces(report, Section::kDacl, info.dacl, 0);
  report.text += Concat({"\r\n\r\nSACL  : ", Decimal(info.sacl.count), "\r\n"});
  AddAces(report, Section::kSacl, info.sacl, written);
  return std::move(report.text);
}

}  // namespace hivequarry
