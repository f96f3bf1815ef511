#include "words/property_values.h"

#include <algorithm>
#include <bit>
#include <iterator>

#include "hive/timestamp.h"
#include "host/number_text.h"
#include "words/known_guids.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// Types of app settings: single things first, then lists of the same things in the same order.
constexpr uint32_t kFirstAppType = 0x5F5E101;
constexpr uint32_t kLastAppType = 0x5F5E125;
constexpr uint32_t kAppTypes = kFirstAppType - 1;
constexpr uint32_t kFirstAppList = 0x14;  // less kAppTypes
// Types of properties: the mark of one, and bits that say that there are several things.
constexpr uint32_t kPropertyTypes = 0xFFFF0000;
constexpr uint32_t kPropertyArray = 0x1000;
constexpr uint32_t kPropertyList = 0x2000;
constexpr const char* kOtherForm = "the data have another form";

enum class Form : uint8_t {
  kNothing,
  kSigned,
  kUnsigned,
  kReals,  // of 4 bytes each, as many as there is room for
  kReal,   // of 8 bytes
  kCharacter,
  kBoolean,
  kText,
  kComposite,
  kTime,
  kSpan,
  kGuid,
  kBytes
};

// One thing of a type.
struct Element {
  const char* word = nullptr;  // null: a type that nobody has seen
  Form form = Form::kNothing;
  uint32_t size = 0;  // bytes; 0 for those that have no size of their own
};

constexpr Element kByte = {"byte", Form::kUnsigned, 1};
constexpr Element kInt16 = {"int16", Form::kSigned, 2};
constexpr Element kUint16 = {"uint16", Form::kUnsigned, 2};
constexpr Element kInt32 = {"int32", Form::kSigned, 4};
constexpr Element kUint32 = {"uint32", Form::kUnsigned, 4};
constexpr Element kInt64 = {"int64", Form::kSigned, 8};
constexpr Element kUint64 = {"uint64", Form::kUnsigned, 8};
constexpr Element kFloat = {"float", Form::kReals, 4};
constexpr Element kDouble = {"double", Form::kReal, 8};
constexpr Element kBoolean = {"boolean", Form::kBoolean, 1};
constexpr Element kTextElement = {"text", Form::kText, 0};
constexpr Element kTime = {"time", Form::kTime, 8};
constexpr Element kGuid = {"GUID", Form::kGuid, 16};

// By type, less kAppTypes.
constexpr Element kAppElements[] = {
    {},
    kByte,
    kInt16,
    kUint16,
    kInt32,
    kUint32,
    kInt64,
    kUint64,
    kFloat,
    kDouble,
    {"character", Form::kCharacter, 2},
    kBoolean,
    kTextElement,
    {"composite", Form::kComposite, 0},
    kTime,
    {"time span", Form::kSpan, 8},
    kGuid,
    {"point", Form::kReals, 8},
    {"size", Form::kReals, 8},
    {"rectangle", Form::kReals, 16},
};
constexpr uint32_t kAppComposite = 0xD;  // the one that has no lists

// By the low byte of the property's type.
constexpr Element kPropertyElements[] = {
    {"nothing", Form::kNothing, 0},
    {"null", Form::kNothing, 0},
    {"int8", Form::kSigned, 1},
    kByte,
    kInt16,
    kUint16,
    kInt32,
    kUint32,
    kInt64,
    kUint64,
    kFloat,
    kDouble,
    {"decimal", Form::kBytes, 16},
    kGuid,
    {"currency", Form::kSigned, 8},
    {"date", Form::kReal, 8},
    kTime,
    kBoolean,
    kTextElement,
    {"security descriptor", Form::kBytes, 0},
    {"security descriptor as text", Form::kText, 0},
    {"property key", Form::kBytes, 20},
    {"property type", Form::kUnsigned, 4},
    {"error", Form::kUnsigned, 4},
    {"status", Form::kUnsigned, 4},
    {"text of a resource", Form::kText, 0},
};

// What a type's data are: one thing, or several of them.
struct Shape {
  Element element;
  bool several = false;
};

// `number` is the type less kAppTypes, and one of an app's.
Shape ShapeOfApp(uint32_t number) {
  if (number < kFirstAppList) return {kAppElements[number], false};
  // From here on the number of the thing in the list.
  number -= kFirstAppList - 1;
  if (number >= kAppComposite) ++number;
  return {number < std::size(kAppElements) ? kAppElements[number] : Element(), true};
}

Shape ShapeOfProperty(uint32_t type) {
  const uint32_t number = type & 0xFFF;
  const bool several = (type & (kPropertyArray | kPropertyList)) != 0;
  return {number < std::size(kPropertyElements) ? kPropertyElements[number] : Element(), several};
}

// "-3.04:05:06.0000007": days, and the rest of a day.
std::string SpanText(int64_t ticks) {
  // As unsigned numbers: the lowest of all has no positive twin.
  const uint64_t length =
      ticks < 0 ? 0 - static_cast<uint64_t>(ticks) : static_cast<uint64_t>(ticks);
  const uint64_t seconds = length / kFileTimeSecond;
  const auto two = [](uint64_t number) { return Decimal(static_cast<int64_t>(number), 2); };
  std::string text = ticks < 0 ? "-" : "";
  if (seconds >= 86'400) text += std::to_string(seconds / 86'400) + ".";
  text += Concat({two(seconds / 3600 % 24), ":", two(seconds / 60 % 60), ":", two(seconds % 60)});
  if (length % kFileTimeSecond != 0)
    text += Concat({".", Decimal(static_cast<int64_t>(length % kFileTimeSecond), 7)});
  return text;
}

// Read as texts of the registry's own types are, less the zeros at its end.
std::string WideText(ByteView bytes) {
  std::string text;
  AppendStringText(bytes, text);
  while (text.ends_with('\0')) text.pop_back();
  return text;
}

std::string RealsText(ByteView bytes) {
  std::string text;
  for (uint32_t at = 0; at + 4 <= bytes.size(); at += 4) {
    text += Concat({at == 0 ? "" : " ", RealText(std::bit_cast<float>(ReadU32(bytes, at)))});
  }
  return text;
}

std::string BytesText(ByteView bytes) {
  std::string text;
  for (const uint8_t byte : bytes.first(std::min(bytes.size(), kMostPropertyItems))) {
    text += Concat({text.empty() ? "" : " ", Hex(byte, 2)});
  }
  return text;
}

// Of all the bytes of one thing: as many as its size says.
std::string ElementText(Form form, ByteView bytes) {
  switch (form) {
    case Form::kSigned:
      return std::to_string(SignedOf(NumberOf(bytes), bytes.size()));
    case Form::kUnsigned:
      return std::to_string(NumberOf(bytes));
    case Form::kReals:
      return RealsText(bytes);
    case Form::kReal:
      return RealText(std::bit_cast<double>(NumberOf(bytes)));
    case Form::kCharacter:
    case Form::kText:
      return WideText(bytes);
    case Form::kBoolean:
      return bytes[0] == 0 ? "false" : "true";
    case Form::kTime:
      return FormatShownIso(NumberOf(bytes));
    case Form::kSpan:
      return SpanText(static_cast<int64_t>(NumberOf(bytes)));
    case Form::kGuid:
      return GuidText(GuidOfBytes(bytes.first<16>()));
    case Form::kBytes:
      return BytesText(bytes);
    case Form::kComposite:
    case Form::kNothing:
      return {};
  }
  return {};
}

// Joins the items of a list, as far as kMostPropertyItems.
struct Items {
  PropertyValue& value;
  size_t count = 0;

  void Add(const std::string& item) {
    if (++count <= kMostPropertyItems) value.text += (count == 1 ? "" : ", ") + item;
  }
  void End() const {
    if (count <= kMostPropertyItems) return;
    value.fault = Concat({"the first ", std::to_string(kMostPropertyItems), " of ",
                          std::to_string(count), " items"});
  }
};

// Texts that have their length in bytes before them: true when they end where the data do.
bool AddTextsWithLengths(ByteView data, Items& items) {
  uint32_t at = 0;
  while (IsInside(data, at, 4)) {
    const uint32_t length = ReadU32(data, at);
    if (length % 2 != 0 || !IsInside(data, at + 4, length)) return false;
    items.Add(WideText(PartOf(data, at + 4, length)));
    at += 4 + length;
  }
  return at == data.size();
}

// Texts that end in a zero each.
bool AddTextsWithZeros(ByteView data, Items& items) {
  if (data.size() % 2 != 0) return false;
  uint32_t begin = 0;
  for (uint32_t at = 0; at < data.size(); at += 2) {
    if (ReadU16(data, at) != 0) continue;
    // The empty text ends the list.
    if (at == begin && at + 2 == data.size()) return true;
    items.Add(WideText(PartOf(data, begin, at - begin)));
    begin = at + 2;
  }
  return begin == data.size();
}

// `lengths`: the texts may have their lengths before them, as apps store lists. The form that fits
// the data to the last byte is the one; what the other had added goes.
void AddTexts(ByteView data, bool lengths, PropertyValue& value) {
  Items items{value};
  if (lengths && AddTextsWithLengths(data, items)) return items.End();
  value.text.clear();
  items.count = 0;
  if (AddTextsWithZeros(data, items)) return items.End();
  value.text.clear();
  value.fault = kOtherForm;
}

void AddElements(const Element& element, ByteView data, PropertyValue& value) {
  if (element.size == 0 || data.size() % element.size != 0) {
    value.fault = kOtherForm;
    return;
  }
  Items items{value};
  for (size_t at = 0; at < data.size(); at += element.size) {
    // Items beyond the most are counted, and no texts are made of them.
    items.Add(items.count < kMostPropertyItems
                  ? ElementText(element.form, data.subspan(at, element.size))
                  : std::string());
  }
  items.End();
}

void ReadShape(const Shape& shape, ByteView data, bool app, PropertyValue& value);

// Members of a composite one after another, each on a multiple of 8: its size in bytes, type (of
// which the low byte counts), characters of the name, name with a zero, data. Believed when they
// end where the data do.
void AddMembers(ByteView data, PropertyValue& value) {
  constexpr uint32_t kHead = 12;
  Items items{value};
  uint32_t at = 0;
  while (IsInside(data, at, kHead)) {
    const uint32_t size = ReadU32(data, at);
    const uint32_t type = ReadU32(data, at + 4);
    const uint32_t family = type & ~0xFFU;
    const uint32_t number = type & 0xFF;
    const uint64_t name = 2 * (uint64_t{ReadU32(data, at + 8)} + 1);
    const bool known = (family == kAppTypes || family == 0 || family == 0x100) && number != 0 &&
                       number <= kLastAppType - kAppTypes && number != kAppComposite;
    if (!known || size < kHead + name || !IsInside(data, at, size)) break;
    const auto name_size = static_cast<uint32_t>(name);
    PropertyValue member;
    ReadShape(ShapeOfApp(number), PartOf(data, at + kHead + name_size, size - kHead - name_size),
              true, member);
    items.Add(Concat({WideText(PartOf(data, at + kHead, name_size)), ": ",
                      member.fault.empty() ? member.text : "(" + member.fault + ")"}));
    at += std::min<uint32_t>((size + 7) & ~7U, static_cast<uint32_t>(data.size()) - at);
  }
  if (at == data.size()) return items.End();
  value.text.clear();
  value.fault = kOtherForm;
}

// Recursive by way of AddMembers, one level deep: no member is composite. `app`: the data are those
// of an app's setting.
void ReadShape(const Shape& shape, ByteView data, bool app, PropertyValue& value) {
  const Element& element = shape.element;
  if (element.word == nullptr) {
    value.fault = "a type that is not known";
  } else if (element.form == Form::kComposite) {
    AddMembers(data, value);
  } else if (shape.several && element.form == Form::kText) {
    AddTexts(data, app, value);
  } else if (shape.several) {
    AddElements(element, data, value);
  } else if (element.size != 0 && data.size() != element.size) {
    value.fault = kOtherForm;
  } else {
    value.text = ElementText(element.form, data);
  }
}

std::string TypeWords(const Shape& shape, uint32_t type) {
  if (shape.element.word == nullptr) return Concat({"0x", Hex(type)});
  return Concat({shape.several ? "list of " : "", shape.element.word});
}

PropertyValue ReadAppSetting(uint32_t type, ByteView data) {
  constexpr size_t kTimeSize = 8;
  const Shape shape = ShapeOfApp(type - kAppTypes);
  PropertyValue value;
  value.kind = "app setting";
  value.type = TypeWords(shape, type);
  if (data.size() < kTimeSize) {
    value.fault = "the data end before their time";
    return value;
  }
  value.written = NumberOf(data.last(kTimeSize));
  ReadShape(shape, data.first(data.size() - kTimeSize), true, value);
  return value;
}

}  // namespace

bool IsAppSetting(uint32_t type) { return type >= kFirstAppType && type <= kLastAppType; }

PropertyValue ReadPropertyValue(uint32_t type, ByteView data) {
  if (IsAppSetting(type)) return ReadAppSetting(type, data);
  if ((type & kPropertyTypes) != kPropertyTypes) return {};
  const Shape shape = ShapeOfProperty(type);
  PropertyValue value;
  value.kind = "device property";
  value.type = TypeWords(shape, type);
  ReadShape(shape, data, false, value);
  return value;
}

std::string PropertyWords(const PropertyValue& value) {
  if (value.kind.empty()) return {};
  const std::string written =
      value.written == 0 ? std::string() : ", written " + FormatShownIso(value.written);
  const std::string fault = value.fault.empty() ? std::string() : " (" + value.fault + ")";
  return Concat({value.kind, ", ", value.type, written, fault});
}

}  // namespace hivequarry
