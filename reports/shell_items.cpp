#include "reports/shell_items.h"

#include <algorithm>
#include <array>

#include "hive/key_tree.h"
#include "host/number_text.h"
#include "host/text.h"
#include "records/stored_text.h"
#include "reports/report_run.h"

namespace hivequarry {
namespace {

using Span = std::span<const uint8_t>;

// More than any folder is deep: what a list has after these is not read, and the path says so.
constexpr uint32_t kMaxItems = 256;   // of a list
constexpr size_t kMaxName = 520;      // characters
constexpr size_t kMaxItemPath = 520;  // characters; what becomes longer loses its beginning

// An item, counted from its size field:
//
//    0  2  size, with this field
//    2  1  kind
//    file or folder, kind & 0x70 = 0x30 (0x31 folder, 0x32 file, 0x04 set: the name is UTF-16):
//       4 4 size, 8 4 DOS date and time, 12 2 attributes, 14 name, then from an even place on
//       XP and later: extension; before: short name
//    volume, 0x20 to 0x2F: 3 "C:\"; name space, 0x2E with 0x80 at 3: 4 GUID
//    root folder, 0x1F: 4 GUID
//    network, 0x40 to 0x4F: 5 name
//    address, 0x61: 3 flags (0x80: UTF-16), 4 2 length of what is before the text, 6 that
//    control panel, 0x71: 14 GUID; category, 0x01: 4 signature, 8 number
//    delegate, 0x74: 6 "CFSF", 10 an item of a file
//    known folder, any kind: 6 signature, 14 GUID
//    others: a property store may give a name
//
// The layouts are those of published format notes, and were seen on hives of XP to 10.
//
// Kinds; a bit of 0x80 on a file or network item tells of a further part at its end.
constexpr uint8_t kControlPanelCategory = 0x01;
constexpr uint8_t kRoot = 0x1F;
constexpr uint8_t kNameSpace = 0x2E;
constexpr uint8_t kAddress = 0x61;
constexpr uint8_t kControlPanelItem = 0x71;
constexpr uint8_t kUserFile = 0x74;
constexpr uint8_t kUnicodeName = 0x04;  // of a file item
constexpr uint8_t kFileItem = 0x02;
constexpr uint8_t kHasGuid = 0x80;  // in the byte after the kind, of a name space item

// What is at offset 4 or 6 of items whose kind alone does not say enough.
constexpr uint32_t kCategorySignature = 0x39DE2184;
constexpr uint32_t kDriveSignature = 0xF5A6B710;
constexpr uint32_t kSearchSignature = 0x23A3DFD5;
constexpr uint32_t kKnownFolderSignature = 0x23FEBBEE;
constexpr uint32_t kUserFileSignature = 0x46534643;  // "CFSF"

constexpr uint16_t kFileExtensionSignature[] = {0x0004, 0xBEEF};

// Reads beyond the end give 0.
uint16_t U16At(Span bytes, size_t at) {
  return at <= bytes.size() && bytes.size() - at >= 2 ? LoadU16(bytes.data() + at) : uint16_t{0};
}
uint32_t U32At(Span bytes, size_t at) {
  return at <= bytes.size() && bytes.size() - at >= 4 ? LoadU32(bytes.data() + at) : 0;
}
uint8_t U8At(Span bytes, size_t at) { return at < bytes.size() ? bytes[at] : uint8_t{0}; }
Span From(Span bytes, size_t at) { return bytes.subspan(std::min(at, bytes.size())); }

// The bytes of a zero-ended text, without the zero, as far as there are any.
// At most kMaxName characters: what follows in a damaged item may have no zero for long.
Span NarrowBytesAt(Span bytes, size_t at) {
  const Span text = From(bytes, at);
  size_t length = 0;
  while (length < std::min(text.size(), kMaxName) && text[length] != 0) ++length;
  return text.first(length);
}
Span WideBytesAt(Span bytes, size_t at) {
  const Span text = From(bytes, at);
  size_t length = 0;
  while (length < 2 * kMaxName && U16At(text, length) != 0) length += 2;
  return text.first(length);
}

std::string NarrowText(Span bytes) {
  std::string text;
  AppendSingleByteData(bytes, text);
  MakeOneLine(text);
  return text;
}
std::string WideText(Span bytes) {
  std::string text;
  AppendUnits(bytes, StoredUnits::kOfString, kMaxName, text);
  MakeOneLine(text);
  return text;
}
std::string NarrowAt(Span bytes, size_t at) { return NarrowText(NarrowBytesAt(bytes, at)); }
std::string WideAt(Span bytes, size_t at) { return WideText(WideBytesAt(bytes, at)); }

std::string FolderAt(Span bytes, size_t at) {
  if (at > bytes.size() || bytes.size() - at < 16) return {};
  return FolderName(bytes.subspan(at).first<16>());
}

// Empty where no letter and colon are there: other things than drives have this kind.
std::string DriveAt(Span bytes, size_t at) {
  const uint8_t letter = U8At(bytes, at) & 0xDF;
  const bool drive = letter >= 'A' && letter <= 'Z' && U8At(bytes, at + 1) == ':';
  return drive ? NarrowAt(bytes, at) : std::string();
}

// --- names in property stores ------------------------------------------------------------------

//    0 4 size of the property   8 1 0     13 4 length in characters (of a text)
//    4 4 its number             9 4 type  17   the text, UTF-16
//
// The format {B725F130-47EF-101A-A5F1-02608C9EEBAC} with number 10 is the name that users see.
//
// "1SPS", a format GUID, then properties: size, number, a zero byte, type, value.
constexpr std::array<uint8_t, 4> kStoreSignature = {'1', 'S', 'P', 'S'};
constexpr std::array<uint8_t, 16> kNameFormat = {0x30, 0xF1, 0x25, 0xB7, 0xEF, 0x47, 0x1A, 0x10,
                                                 0xA5, 0xF1, 0x02, 0x60, 0x8C, 0x9E, 0xEB, 0xAC};
constexpr uint32_t kDisplayName = 10;
constexpr uint16_t kWideString = 0x1F;
constexpr size_t kPropertyText = 17;

// The display name among properties, which are passed over as far as they hang together.
std::string DisplayNameIn(Span& properties) {
  while (true) {
    const uint32_t size = U32At(properties, 0);
    if (size < kPropertyText || size > properties.size()) return {};
    const Span property = properties.first(size);
    properties = properties.subspan(size);
    const bool wanted = U32At(property, 4) == kDisplayName && U16At(property, 9) == kWideString;
    if (wanted) return WideAt(property, kPropertyText);
  }
}

// The display name that any of an item's property stores gives. What belongs to one store is not
// looked through for others, which would take the square of the item's length.
std::string PropertyName(Span item) {
  while (true) {
    const auto at =
        std::search(item.begin(), item.end(), kStoreSignature.begin(), kStoreSignature.end());
    if (at == item.end()) return {};
    item = From(item, static_cast<size_t>(at - item.begin()) + kStoreSignature.size());
    if (item.size() < kNameFormat.size()) return {};
    if (!std::equal(kNameFormat.begin(), kNameFormat.end(), item.begin())) continue;
    item = item.subspan(kNameFormat.size());
    std::string name = DisplayNameIn(item);
    if (!name.empty()) return name;
  }
}

// --- files -------------------------------------------------------------------------------------

// At an even place of the item; looked for by its signature, as what is before it varies:
//
//    0 2 size, 2 2 version, 4 4 0xBEEF0004, 8 4 created, 12 4 accessed (DOS, UTC)
//    long name, UTF-16, at
//       20   version 3: XP, 2003
//       38   version 7: Vista
//       42   version 8: 7, 2008 R2
//       46   version 9: 8.1, 10
//    from version 7 on 20 8 file reference
//
// The extension block of a file item, empty when there is none; it begins with its size, its
// version and its signature.
Span FileExtension(Span item, size_t from) {
  for (size_t at = from + 4; at + 4 <= item.size(); at += 2) {
    const bool found = U16At(item, at) == kFileExtensionSignature[0] &&
                       U16At(item, at + 2) == kFileExtensionSignature[1];
    const size_t size = found ? U16At(item, at - 4) : 0;
    if (size >= 20 && size <= item.size() - (at - 4)) return item.subspan(at - 4, size);
  }
  return {};
}

// Later versions have put a file reference, then other numbers, before the long name.
size_t LongNameOffset(uint16_t version) {
  if (version < 3) return SIZE_MAX;
  if (version < 7) return 20;
  if (version < 8) return 38;
  return version < 9 ? 42 : 46;
}

// With a long name the one that the item had so far is the short one. The times are those of the
// extension, the last change stays that of the item.
void ApplyExtension(Span block, ShellItem& shown) {
  if (block.empty()) return;
  shown.created = U32At(block, 8);
  shown.accessed = U32At(block, 12);
  shown.extension_version = U16At(block, 2);
  constexpr uint16_t kWithReference = 7;
  if (shown.extension_version >= kWithReference) {
    shown.file_reference = U32At(block, 20) | uint64_t{U32At(block, 24)} << 32;
  }
  const size_t at = LongNameOffset(U16At(block, 2));
  std::string long_name = at < block.size() ? WideAt(block, at) : std::string();
  if (long_name.empty()) return;
  shown.dos_name = std::move(shown.name);
  shown.name = std::move(long_name);
}

// `item` begins two bytes before the kind.
ShellItem ReadFile(Span item) {
  constexpr size_t kName = 14;
  const uint8_t kind = U8At(item, 2);
  ShellItem shown;
  shown.is_file = (kind & kFileItem) != 0;
  shown.size = shown.is_file ? U32At(item, 4) : 0;
  shown.modified = U32At(item, 8);
  const bool wide = (kind & kUnicodeName) != 0;
  const Span name = wide ? WideBytesAt(item, kName) : NarrowBytesAt(item, kName);
  shown.name = wide ? WideText(name) : NarrowText(name);
  const size_t behind = kName + name.size() + (wide ? 2 : 1);
  // Items of the oldest systems have the short name after the long one, and no extension.
  // The name is padded to an even length.
  const Span extension = FileExtension(item, (behind + 1) & ~size_t{1});
  if (extension.empty() && !wide) shown.dos_name = NarrowAt(item, behind);
  ApplyExtension(extension, shown);
  return shown;
}

// --- the other kinds ---------------------------------------------------------------------------

// In the order of the system's numbers; an unknown one has no name.
std::string CategoryName(uint32_t number) {
  constexpr const char* kNames[] = {"All Control Panel Items",
                                    "Appearance and Personalization",
                                    "Hardware and Sound",
                                    "Network and Internet",
                                    "Sound, Speech and Audio Devices",
                                    "System and Security",
                                    "Clock, Language, and Region",
                                    "Ease of Access",
                                    "Programs",
                                    "User Accounts",
                                    "Security Center",
                                    "Mobile PC"};
  return number < std::size(kNames) ? kNames[number] : std::string();
}

std::string AddressName(Span item) {
  const bool wide = (U8At(item, 3) & 0x80) != 0;
  const size_t at = size_t{6} + U16At(item, 4);
  return wide ? WideAt(item, at) : NarrowAt(item, at);
}

// Where the item has the GUID that tells its folder; 0 for nowhere.
size_t FolderPlace(Span item) {
  const uint8_t kind = U8At(item, 2);
  const uint32_t signature = U32At(item, 6);
  if (kind == kRoot) return signature == kDriveSignature || signature == kSearchSignature ? 0 : 4;
  if (kind == kNameSpace && (U8At(item, 3) & kHasGuid) != 0) return 4;
  return kind == kControlPanelItem || signature == kKnownFolderSignature ? 14 : 0;
}

// Empty for a kind whose items have no name at a known place.
std::string NameByKind(Span item) {
  const uint8_t kind = U8At(item, 2);
  if (kind == kControlPanelCategory && U32At(item, 4) == kCategorySignature) {
    return CategoryName(U32At(item, 8));
  }
  if (const size_t at = FolderPlace(item); at != 0) return FolderAt(item, at);
  if (kind == kRoot) {
    return U32At(item, 6) == kDriveSignature ? DriveAt(item, 13) : "Search Results";
  }
  if ((kind & 0x70) == 0x20) return DriveAt(item, 3);
  if ((kind & 0x70) == 0x40) return NarrowAt(item, 5);
  if (kind == kAddress) return AddressName(item);
  return {};
}

// The GUID by which the item tells its folder; empty for none.
std::string FolderGuid(Span item) {
  const size_t at = FolderPlace(item);
  if (at == 0 || at > item.size() || item.size() - at < 16) return {};
  return GuidText(item.subspan(at).first<16>());
}

// The word of the list's column "Kind"; never null.
const char* KindWord(Span item, const ShellItem& shown) {
  const uint8_t kind = U8At(item, 2);
  if (kind == kUserFile) return "delegate";
  if ((kind & 0x70) == 0x30) return shown.is_file ? "file" : "folder";
  if (kind == kControlPanelCategory || kind == kControlPanelItem) return "control panel";
  if (kind == kRoot) {
    if (U32At(item, 6) == kDriveSignature) return "volume";
    return U32At(item, 6) == kSearchSignature ? "search" : "root folder";
  }
  if (kind == kNameSpace && (U8At(item, 3) & kHasGuid) != 0) return "system folder";
  if ((kind & 0x70) == 0x20) return "volume";
  if ((kind & 0x70) == 0x40) return "network";
  if (kind == kAddress) return "address";
  if (U32At(item, 6) == kKnownFolderSignature) return "known folder";
  return "unknown";
}

std::string UnknownName(uint8_t kind) { return Concat({"{type 0x", SmallHex(kind, 2), "}"}); }

}  // namespace

ShellItem ReadShellItem(Span item) {
  const uint8_t kind = U8At(item, 2);
  ShellItem shown;
  if (kind == kUserFile && U32At(item, 6) == kUserFileSignature) {
    // A file item inside, its size field at 10; the extension follows after it.
    shown = ReadFile(From(item, 10));
  } else if ((kind & 0x70) == 0x30) {
    shown = ReadFile(item);
  } else {
    shown.name = NameByKind(item);
    shown.guid = FolderGuid(item);
  }
  shown.kind = KindWord(item, shown);
  if (shown.name.empty()) {
    shown.name = PropertyName(item);
    if (!shown.name.empty() && shown.kind == std::string_view("unknown")) {
      shown.kind = "property store";
    }
  }
  if (shown.name.empty()) shown.name = UnknownName(kind);
  return shown;
}

namespace {

// The last folders of a path that has become too long, after "...".
std::string TailOf(std::string_view path) {
  constexpr size_t kTail = 100;
  if (CountUnits(path) <= kTail) return std::string(path);
  const size_t before = FirstUnits(path, CountUnits(path) - kTail).size();
  const size_t split = path.find('\\', before);
  const std::string_view tail =
      split == std::string_view::npos ? std::string_view() : path.substr(split);
  return "..." + std::string(tail);
}

}  // namespace

std::string JoinItemPath(std::string_view parent, std::string_view name) {
  const bool anew = name.starts_with("\\\\") || (name.size() >= 2 && name[1] == ':');
  if (anew || parent.empty()) return std::string(name);
  std::string path(parent);
  if (CountUnits(path) + CountUnits(name) >= kMaxItemPath) path = TailOf(path);
  if (!path.ends_with('\\')) path += '\\';
  return path += name;
}

ItemList ReadItemList(Span data, std::string_view parent) {
  ItemList list;
  list.path = parent;
  while (data.size() >= 2) {
    const uint16_t size = U16At(data, 0);
    if (size == 0) break;
    list.cut = size < 3 || size > data.size() || list.count == kMaxItems;
    if (list.cut) break;
    list.last = ReadShellItem(data.first(size));
    list.path = JoinItemPath(list.path, list.last.name);
    data = data.subspan(size);
    ++list.count;
  }
  if (list.cut) list.path = JoinItemPath(list.path, "...");
  return list;
}

}  // namespace hivequarry
