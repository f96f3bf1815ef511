// What the system's inventory of programs ("Amcache.hve") has: files, programs, drivers, devices,
// shortcuts. Windows 8 and the first 10 name values by numbers, later ones by words; an upgraded
// system has both.
#include <algorithm>
#include <optional>

#include "evidence/decode.h"
#include "evidence/mru.h"
#include "hive/timestamp.h"
#include "host/case.h"

namespace hivequarry {
namespace {

// Which value each cell is from; null for none. Names of values that are numbers are hexadecimal,
// as the older systems write them. Of a file, below "File\{volume}":
//
//     0  product                  11  modified
//     1  publisher                12  created
//     5  version of the file      15  path
//     6  size, bytes             100  id of the program it belongs to
//     f  linked                  101  hash: four zeros and the SHA-1
//
// Of a program, below "Programs": 0 name, 1 version, 2 publisher, a installed, d folder.
struct InventoryForm {
  const char* word;
  const char* name;
  const char* path;
  const char* hash;
  const char* size;
  const char* product;
  const char* publisher;
  const char* version;
  const char* linked;
  const char* modified;
  const char* created;
  const char* installed;
  const char* program;
};
// In the order of the decoder's patterns.
constexpr InventoryForm kInventoryForms[] = {
    {"file", nullptr, "15", "101", "6", "0", "1", "5", "f", "11", "12", nullptr, "100"},
    {"program", "0", "d", nullptr, nullptr, nullptr, "2", "1", nullptr, nullptr, nullptr, "a",
     nullptr},
    {"file", "Name", "LowerCaseLongPath", "FileId", "Size", "ProductName", "Publisher", "Version",
     "LinkDate", nullptr, nullptr, nullptr, "ProgramId"},
    {"program", "Name", "RootDirPath", nullptr, nullptr, nullptr, "Publisher", "Version", nullptr,
     nullptr, nullptr, "InstallDate", "ProgramId"},
    {"driver", "DriverName", nullptr, "DriverId", "ImageSize", "Product", "DriverCompany",
     "DriverVersion", "DriverTimeStamp", "DriverLastWriteTime", nullptr, nullptr, nullptr},
    {"driver package", "Inf", "Directory", nullptr, nullptr, nullptr, "Provider", "Version",
     nullptr, nullptr, nullptr, "Date", nullptr},
    {"device", "Description", "ParentId", nullptr, nullptr, "Model", "Manufacturer",
     "DriverVerVersion", nullptr, nullptr, nullptr, "InstallDate", nullptr},
    {"device container", "FriendlyName", nullptr, nullptr, nullptr, "ModelName", "Manufacturer",
     nullptr, nullptr, nullptr, nullptr, nullptr, nullptr},
    {"shortcut", nullptr, "ShortcutPath", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
     nullptr, nullptr, nullptr, "ShortcutProgramId"},
};

std::string CellText(const std::vector<EvidenceValue>& values, const char* name) {
  return name == nullptr ? std::string() : TextNamed(values, name);
}

// The 40 digits of a SHA-1 are stored after "0000", which is taken off. Text of another form is
// shown whole, with a note.
std::string HashText(std::string text, EvidenceRow& row) {
  constexpr size_t kDigits = 40;
  if (text.empty()) return text;
  if (text.size() == kDigits + 4 && text.starts_with("0000")) return text.substr(4);
  row.Note("no SHA-1 of the usual form");
  return text;
}

// "12/16/2019 20:45:45", or the day alone: month, day, year, hour, minute, second. Nothing
// for other text.
std::optional<uint64_t> TimeOfText(std::string_view text) {
  CalendarTime time;
  int* const fields[] = {&time.month, &time.day,    &time.year,
                         &time.hour,  &time.minute, &time.second};
  size_t field = 0;
  bool digits = false;
  for (const char c : text) {
    if (c >= '0' && c <= '9') {
      if (field >= std::size(fields) || *fields[field] > 9999) return std::nullopt;
      *fields[field] = 10 * *fields[field] + (c - '0');
      digits = true;
    } else if (digits && (c == '/' || c == ' ' || c == ':')) {
      ++field;
      digits = false;
    } else {
      return std::nullopt;
    }
  }
  return FileTimeOfFields(time);
}

// One cell. Numbers of eight bytes are FILETIME, those of four seconds since 1970, 0 is none; a
// text that is no date stays text. None says its time zone: all are taken as UTC.
void AddTime(const std::vector<EvidenceValue>& values, const char* name, EvidenceRow& row) {
  const EvidenceValue* value = name == nullptr ? nullptr : FindValue(values, name);
  if (value == nullptr) {
    row.Empty();
    return;
  }
  const std::optional<uint64_t> number = NumberOf(*value);
  if (number && value->data.size() == 8) {
    row.Time(*number);
  } else if (number) {
    row.Time(*number == 0 ? 0 : FileTimeOfSeconds(*number));
  } else {
    const std::string text = ValueText(*value);
    const std::optional<uint64_t> time = TimeOfText(text);
    if (time) {
      row.Time(*time);
    } else {
      row.Text(text);
    }
  }
}

// A row for each key, also for one whose values are all lost: that it is there says that the
// program was. Without a name the last name of the path, then the key's own, stand for it. A size
// that is no number is shown as its text.
void AddEntry(EvidenceRun& run, EvidenceKey key, const InventoryForm& form) {
  const std::vector<EvidenceValue> values = run.keys.ValuesOf(key);
  EvidenceRow row;
  const std::string key_name = run.keys.NameOf(key);
  const std::string path = CellText(values, form.path);
  std::string name = CellText(values, form.name);
  if (form.name == nullptr) name = LastName(path);
  row.Text(form.word).Text(name.empty() ? key_name : name).Text(path);
  row.Text(HashText(CellText(values, form.hash), row));
  const std::optional<uint64_t> size =
      form.size == nullptr ? std::nullopt : NumberNamed(values, form.size);
  if (size) {
    row.Number(*size);
  } else {
    row.Text(CellText(values, form.size));
  }
  row.Text(CellText(values, form.product)).Text(CellText(values, form.publisher));
  row.Text(CellText(values, form.version));
  for (const char* time : {form.linked, form.modified, form.created, form.installed}) {
    AddTime(values, time, row);
  }
  row.Text(CellText(values, form.program)).Text(key_name);
  if (values.empty()) row.Note("no values");
  for (const EvidenceValue& value : values) {
    if (!value.read) row.Note("not all values can be read");
  }
  AddEvidence(run, std::move(row), key);
}

}  // namespace

void DecodeAmCache(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places)
    AddEntry(run, place.key, kInventoryForms[place.pattern]);
}

// --- names of programs as the shell shows them --------------------------------------------------

namespace {

constexpr std::string_view kFriendly = ".FriendlyAppName";
constexpr std::string_view kCompany = ".ApplicationCompany";

// Since Vista a program has two values, its path with either ending; before, one with the path
// alone. "@file,-number" names a text resource.
void AddShownName(EvidenceRun& run, EvidenceKey key, const EvidenceValue& value) {
  std::string name = value.name;
  const char* kind = "name";
  if (EndsIgnoringCase(name, kFriendly)) {
    name.resize(name.size() - kFriendly.size());
  } else if (EndsIgnoringCase(name, kCompany)) {
    name.resize(name.size() - kCompany.size());
    kind = "company";
  } else if (name.starts_with('@')) {
    kind = "resource";
  }
  EvidenceRow row;
  row.Text(name).Text(kind).Text(HasData(value, 0, row) ? ValueText(value) : std::string());
  NoteTail(value, row);
  AddEvidence(run, std::move(row), key, &value);
}

}  // namespace

// The values about the list itself, the languages it was made for, are no programs.
void DecodeMuiCache(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) {
    for (const EvidenceValue& value : run.keys.ValuesOf(place.key)) {
      const bool own = value.name.empty() || EqualIgnoringCase(value.name, "LangID") ||
                       EqualIgnoringCase(value.name, "LanguageList");
      if (!own) AddShownName(run, place.key, value);
    }
  }
}

// Without their key only names with one of the two endings, or of a text resource, tell; XP's plain
// paths are as good as any value's name and are left out.
void DecodeLooseMuiCache(EvidenceRun& run, std::span<const EvidenceValue> values) {
  for (const EvidenceValue& value : values) {
    const bool text = value.type == kRegSz;
    const bool resource = value.name.starts_with('@') && value.name.find(",-") != std::string::npos;
    const bool program =
        EndsIgnoringCase(value.name, kFriendly) || EndsIgnoringCase(value.name, kCompany);
    if (text && (resource || program)) AddShownName(run, kNoEvidenceKey, value);
  }
}

}  // namespace hivequarry
