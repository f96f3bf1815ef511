#include "view/value_meaning.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "bytes/byte_view.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/number_text.h"
#include "host/text.h"
#include "host/visible_text.h"
#include "reports/shell_items.h"
#include "security/descriptor.h"
#include "security/sid.h"
#include "words/known_guids.h"
#include "words/property_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr size_t kLongestText = 64;    // characters shown of a text
constexpr double kOleEpoch = 109'205;  // days from 1601 to 1899-12-30
constexpr double kSecondsPerDay = 86'400;

struct PlaceBytes {
  std::span<const uint8_t> from;  // the place on
  size_t selected = 0;            // 0: nothing is

  // True where a thing of that size may be meant.
  bool Allows(size_t size) const {
    return from.size() >= size && (selected == 0 || selected == size);
  }
  uint64_t Little(size_t size) const { return NumberOf(from.first(size)); }
  uint64_t Big(size_t size) const {
    uint64_t number = 0;
    for (size_t i = 0; i < size; ++i) number = number << 8 | from[i];
    return number;
  }
};

using Meanings = std::vector<Meaning>;

// "200 (-56), 0xC8".
std::string NumberText(uint64_t number, size_t size) {
  std::string text = std::to_string(number);
  const int64_t below = SignedOf(number, size);
  if (below < 0) text += " (" + std::to_string(below) + ")";
  return Concat({text, ", 0x", Hex(number, 2 * size)});
}

// Of a selection the size that it has, else all sizes that there are bytes for.
void AddNumbers(const PlaceBytes& bytes, Meanings& out) {
  constexpr struct {
    size_t size;
    const char* little;
    const char* big;
  } kSizes[] = {{1, "8 bits", nullptr},
                {2, "16 bits", "16 bits, high byte first"},
                {4, "32 bits", "32 bits, high byte first"},
                {8, "64 bits", "64 bits, high byte first"}};
  for (const auto& each : kSizes) {
    if (!bytes.Allows(each.size)) continue;
    out.push_back({each.little, NumberText(bytes.Little(each.size), each.size)});
    if (each.big == nullptr) continue;
    out.push_back({each.big, NumberText(bytes.Big(each.size), each.size)});
  }
}

// Empty for a date that no registry has seen.
std::string TimeText(uint64_t file_time) {
  return FormatTimestampChecked(file_time).empty() ? std::string() : FormatShownIso(file_time);
}

void AddTime(const char* label, uint64_t file_time, Meanings& out) {
  std::string text = TimeText(file_time);
  if (!text.empty()) out.push_back({label, std::move(text)});
}

// Bounds are those of the times that people meet: an OLE time is taken for one from 1982 to 2105,
// milliseconds from 1970 on by more than some days, as smaller numbers are counts.
void AddTimes(const PlaceBytes& bytes, Meanings& out) {
  if (bytes.Allows(8)) {
    const uint64_t wide = bytes.Little(8);
    AddTime("FILETIME", wide, out);
    AddTime("FILETIME, high half first", wide << 32 | wide >> 32, out);
    if (wide < UINT32_MAX) AddTime("Unix time, 64 bits", FileTimeOfSeconds(wide), out);
    const uint64_t seconds = wide / 1000;
    if (seconds < UINT32_MAX && seconds > 1'000'000) {
      AddTime("Unix time, milliseconds", FileTimeOfSeconds(seconds) + wide % 1000 * 10'000, out);
    }
    const auto days = std::bit_cast<double>(wide);
    if (days > 30'000 && days < 75'000) {
      const double since = (days + kOleEpoch) * kSecondsPerDay;
      AddTime("OLE time", static_cast<uint64_t>(std::llround(since)) * kFileTimeSecond, out);
    }
  }
  if (!bytes.Allows(4)) return;
  const auto narrow = static_cast<uint32_t>(bytes.Little(4));
  AddTime("Unix time", FileTimeOfSeconds(narrow), out);
  if (std::string dos = FormatDosTimestamp(narrow); !dos.empty()) {
    out.push_back({"DOS date and time", std::move(dos)});
  }
}

// Sizes that things have; others are bytes that mean something else.
bool IsPlausibleReal(double number) {
  const double size = std::fabs(number);
  return size == 0 || (size > 1e-12 && size < 1e15);
}

// Any bytes are some number: only those of a size that people store are shown.
void AddReals(const PlaceBytes& bytes, Meanings& out) {
  if (bytes.Allows(4)) {
    const auto real = std::bit_cast<float>(static_cast<uint32_t>(bytes.Little(4)));
    if (IsPlausibleReal(real)) out.push_back({"Float", RealText(real)});
  }
  if (bytes.Allows(8)) {
    const auto real = std::bit_cast<double>(bytes.Little(8));
    if (IsPlausibleReal(real)) out.push_back({"Double", RealText(real)});
  }
}

// A SID says by itself how long it is; a selection must be as long.
void AddIdentifiers(const PlaceBytes& bytes, Meanings& out) {
  if (bytes.Allows(16)) {
    const Guid guid = GuidOfBytes(bytes.from.first<16>());
    std::string text = GuidText(guid);
    for (const std::string_view name : {KnownFolderName(guid), ClassIdName(guid)}) {
      if (!name.empty()) text += Concat({" (", name, ")"});
    }
    out.push_back({"GUID", std::move(text)});
  }
  const size_t sid = SidLength(bytes.from);
  if (sid == 0 || (bytes.selected != 0 && bytes.selected != sid)) return;
  std::string text = SidText(bytes.from.first(sid));
  std::string name;
  if (AccountNameOfSid(bytes.from.first(sid), text, false, name)) text += " (" + name + ")";
  out.push_back({"SID", std::move(text)});
}

std::string Quoted(std::string_view text, bool more) {
  return Concat({"\"", VisibleLine(text), more ? "..." : "", "\""});
}

// A zero, or another character that no text has.
bool EndsText(uint32_t unit) { return unit < 32 && unit != '\t' && unit != '\r' && unit != '\n'; }

// Up to what ends it, or the end of the selection.
void AddTexts(const PlaceBytes& bytes, Meanings& out) {
  // One more than is shown tells that there is more.
  const size_t room = bytes.selected != 0 ? bytes.selected : bytes.from.size();
  const std::span<const uint8_t> all = bytes.from.first(std::min(room, 2 * (kLongestText + 1)));
  const auto narrow_end = static_cast<size_t>(std::ranges::find_if(all, EndsText) - all.begin());
  const size_t narrow = std::min(narrow_end, kLongestText);
  if (narrow != 0) {
    const std::string_view text(reinterpret_cast<const char*>(all.data()), narrow);
    out.push_back({"Text, a byte a character", Quoted(TextOfCodePage(text), narrow < narrow_end)});
  }
  std::u16string wide;
  size_t at = 0;
  for (; at + 1 < all.size() && wide.size() < kLongestText; at += 2) {
    const auto unit = static_cast<char16_t>(all[at] | all[at + 1] << 8);
    if (EndsText(unit)) break;
    wide += unit;
  }
  const bool more =
      wide.size() == kLongestText && at + 1 < all.size() && (all[at] | all[at + 1]) != 0;
  if (!wide.empty()) out.push_back({"Text, UTF-16", Quoted(TextOfWide(wide), more)});
}

// A list that ends within the bytes and whose items are all of known kinds.
void AddItemList(const PlaceBytes& bytes, Meanings& out) {
  constexpr size_t kLongestItems = 1 << 16;
  constexpr size_t kLeastItem = 4;
  const size_t room = bytes.selected != 0 ? bytes.selected : bytes.from.size();
  const ItemList list = ReadItemList(bytes.from.first(std::min(room, kLongestItems)));
  const bool known = list.path.find("{type 0x") == std::string::npos;
  if (list.count == 0 || list.cut || !known || room < kLeastItem) return;
  out.push_back({"Item list", Concat({VisibleLine(list.path), " (", std::to_string(list.count),
                                      list.count == 1 ? " item)" : " items)"})});
  const struct {
    const char* label;
    uint32_t time;
  } times[] = {{"  last item modified", list.last.modified},
               {"  last item created", list.last.created},
               {"  last item accessed", list.last.accessed}};
  for (const auto& [label, time] : times) {
    std::string text = time == 0 ? std::string() : FormatDosTimestamp(time);
    if (!text.empty()) out.push_back({label, std::move(text)});
  }
}

// --- security descriptors

constexpr uint16_t kSelfRelative = 0x8000;
constexpr size_t kDescriptorHeader = 20;
constexpr size_t kLongestDescriptor = 0xFF00;

// What its header says must be so, as any 20 bytes may be asked about.
bool IsDescriptor(std::span<const uint8_t> bytes) {
  if (bytes.size() < kDescriptorHeader || bytes[0] != 1) return false;
  const PlaceBytes header{bytes, 0};
  if ((header.Little(4) >> 16 & kSelfRelative) == 0) return false;
  bool any = false;
  for (size_t field = 4; field < kDescriptorHeader; field += 4) {
    const uint64_t offset = PlaceBytes{bytes.subspan(field), 0}.Little(4);
    if (offset == 0) continue;
    if (offset < kDescriptorHeader || offset >= bytes.size()) return false;
    any = true;
  }
  return any;
}

std::string NamedSid(const std::string& text) {
  if (text.empty()) return "none";
  const WellKnownSid* known = LookupWellKnownSid(text);
  return known == nullptr ? text : Concat({text, " (", known->name, ")"});
}

// At most kMostEntries; the last one says when there are more. Ends at an entry without a size.
void AddEntries(ByteView cell, const AclPlace& acl, const char* label, Meanings& out) {
  constexpr uint32_t kMostEntries = 64;
  if (!IsUsable(acl)) return;
  ForEachAce(cell, acl, nullptr, [&](const AceInfo& ace, uint32_t index) {
    if (!ace.valid || ace.size == 0) return false;
    const bool more = index + 1 == kMostEntries && acl.count > kMostEntries;
    out.push_back(
        {label + std::to_string(index + 1),
         Concat({AceTypeText(ace.type), " ", NamedSid(ace.sid_text), ": 0x", Hex(ace.mask, 8), ", ",
                 FormatAccessMask(ace.mask), more ? ", and more entries" : ""})});
    return !more;
  });
}

// The reader of security records wants a cell: one is made around the bytes.
void AddDescriptor(const PlaceBytes& bytes, Meanings& out) {
  const size_t room = bytes.selected != 0 ? bytes.selected : bytes.from.size();
  const std::span<const uint8_t> descriptor = bytes.from.first(std::min(room, kLongestDescriptor));
  if (!IsDescriptor(descriptor)) return;
  const std::vector<uint8_t> cell = CellOfDescriptor(descriptor);
  SecurityRecordInfo info;
  if (!ReadSecurityRecord(cell, 0, info)) return;
  out.push_back({"Security descriptor", Concat({"owner ", NamedSid(info.owner_text), ", group ",
                                                NamedSid(info.group_text)})});
  AddEntries(cell, info.dacl, "  entry ", out);
  AddEntries(cell, info.sacl, "  audit entry ", out);
}

// A list of strings: each ends with a zero, the list with an empty one.
// An empty string in the middle is an empty line; the zeros at the end are none.
std::string LinesOfStrings(std::span<const uint8_t> data) {
  std::string lines;
  std::string text = DataText(kRegMultiSz, data, true);
  while (text.ends_with('\0')) text.pop_back();
  size_t at = 0;
  while (at <= text.size() && !text.empty()) {
    const size_t end = std::min(text.find('\0', at), text.size());
    lines += text.substr(at, end - at) + "\r\n";
    at = end + 1;
  }
  return lines;
}

// Eight bytes as a number, and as the times that they could be.
std::string WideNumber(std::span<const uint8_t> data) {
  const PlaceBytes bytes{data, 0};
  std::string text = NumberText(bytes.Little(8), 8) + "\r\n";
  Meanings times;
  AddTimes({data, 8}, times);
  for (const Meaning& time : times) text += Concat({time.label, ": ", time.text, "\r\n"});
  return text;
}

// What a device property or an app's setting says, after a line that says what it is.
std::string PropertyLines(const PropertyValue& value) {
  if (value.kind.empty()) return {};
  return Concat({PropertyWords(value), "\r\n", value.text, value.text.empty() ? "" : "\r\n"});
}

}  // namespace

// Each kind of thing looks at a bounded start of the bytes, so the caret may move through a large
// value.
std::vector<Meaning> MeaningsAt(std::span<const uint8_t> data, size_t at, size_t length) {
  Meanings meanings;
  if (at >= data.size()) return meanings;
  const PlaceBytes bytes{data.subspan(at), std::min(length, data.size() - at)};
  AddNumbers(bytes, meanings);
  AddTimes(bytes, meanings);
  AddReals(bytes, meanings);
  AddIdentifiers(bytes, meanings);
  AddTexts(bytes, meanings);
  AddItemList(bytes, meanings);
  AddDescriptor(bytes, meanings);
  return meanings;
}

std::vector<Meaning> MeaningsOfAll(uint32_t type, std::span<const uint8_t> data) {
  const PropertyValue property = ReadPropertyValue(type, data);
  if (property.kind.empty()) return {};
  Meanings meanings = {{"Meaning", PropertyWords(property)}};
  if (!property.text.empty()) {
    const std::string_view shown = FirstUnits(property.text, kPreviewLength);
    const bool more = shown.size() < property.text.size();
    meanings.push_back({"Text", Concat({VisibleLine(shown), more ? "..." : ""})});
  }
  return meanings;
}

std::string ValueAsText(uint32_t type, std::span<const uint8_t> data) {
  switch (type) {
    case kRegSz:
    case kRegExpandSz:
      return DataText(type, data);
    case kRegMultiSz:
      return LinesOfStrings(data);
    case kRegQword:
      return data.size() == 8 ? WideNumber(data) : std::string();
    case kRegDword:
      return data.size() == 4 ? NumberText(PlaceBytes{data, 0}.Little(4), 4) + "\r\n"
                              : std::string();
    case kRegDwordBigEndian:
      return data.size() == 4 ? NumberText(PlaceBytes{data, 0}.Big(4), 4) + "\r\n" : std::string();
    default:
      return PropertyLines(ReadPropertyValue(type, data));
  }
}

std::string MeaningDetail(uint32_t type, std::span<const uint8_t> data) {
  if (type == kRegSz || type == kRegExpandSz || type == kRegDword || data.empty()) return {};
  const std::string text = ValueAsText(type, data);
  if (type == kRegMultiSz) return text.empty() ? text : "\r\nStrings, one a line:\r\n" + text;
  return text.empty() ? text : "\r\nMeaning:\r\n" + text;
}

}  // namespace hivequarry
