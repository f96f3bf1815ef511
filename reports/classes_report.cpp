// Class registrations, and the names that classes and file types go by.
#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "reports/report_run.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

bool IsClassKey(const SourceKey& key) {
  return EqualIgnoringCase(LastName(ParentPath(key.path)), "CLSID");
}

// A class whose subkeys are still to come.
struct OpenClass {
  bool open = false;
  SourceKey key;
  std::string name, server32, server;
};

// The row of a class is added when the walk has left the class: its servers are subkeys.
void CloseClass(ReportRun& run, OpenClass& it) {
  if (it.open) {
    AddReportRow(run.list,
                 {it.key.path,
                  it.name,
                  it.server32,
                  it.server,
                  {KeyDateText(it.key), DateValue(it.key.last_write)}},
                 SubjectOf(it.key));
  }
  it = OpenClass();
}

std::string DefaultText(KeySource& keys) {
  SourceValue value;
  while (keys.NextValue(value)) {
    if (value.name.empty()) return DataCell(value);
  }
  return {};
}

// The cell that a subkey of the class fills, null for one that fills none.
std::string* ServerCell(const SourceKey& key, OpenClass& it) {
  if (!it.open || key.level != it.key.level + 1) return nullptr;
  if (EqualIgnoringCase(key.name, "InprocServer32")) return &it.server32;
  return EqualIgnoringCase(key.name, "InprocServer") ? &it.server : nullptr;
}

// The path of the key that holds file types and classes by name: "...\Classes", or what is in
// front of the first class or extension of a hive that holds nothing else.
std::string_view ClassesPath(std::string_view path) {
  std::string_view root;
  for (std::string_view at = path; !at.empty(); at = ParentPath(at)) {
    const std::string_view name = LastName(at);
    const bool classes =
        EqualIgnoringCase(name, "Classes") ||
        (name.size() > 8 && EqualIgnoringCase(name.substr(name.size() - 8), "_Classes"));
    if (classes) return at;
    const bool inside = EqualIgnoringCase(name, "CLSID") || name.starts_with('.') ||
                        EqualIgnoringCase(name, "Wow6432Node");
    if (inside) root = ParentPath(at);
  }
  return root;
}

bool IsProgIdKey(const SourceKey& key) {
  if (EqualIgnoringCase(key.name, "ProgID")) return true;
  if (EqualIgnoringCase(key.name, "VersionIndependentProgID")) return true;
  // An extension's default value names its file type.
  return key.name.starts_with('.') && ParentPath(key.path) == ClassesPath(key.path);
}

bool IsProgIdValue(const SourceValue& value, bool of_progid_key) {
  return value.name.empty() ? of_progid_key : EqualIgnoringCase(value.name, "progid");
}

// The date is that of the class's own key beside the extensions, where there is one.
void AddProgId(ReportRun& run, const SourceKey& key, const SourceValue& value) {
  const std::string prog_id = DataCell(value);
  if (prog_id.empty()) return;
  const std::string_view classes = ClassesPath(key.path);
  uint64_t date = 0;
  if (value.read && !classes.empty()) {
    date = run.keys.LastWriteOf(std::string(classes) + '\\' + prog_id);
  }
  AddReportRow(run.list,
               {key.path,
                NameText(value),
                prog_id,
                TypeName(value.type),
                {FormatTimestampChecked(date), DateValue(date)}},
               SubjectOf(key, value));
}

}  // namespace

void ReportClasses(ReportRun& run) {
  SourceKey key;
  OpenClass open;
  while (NextKey(run, key)) {
    if (open.open && key.level <= open.key.level) CloseClass(run, open);
    std::string* server = ServerCell(key, open);
    if (server != nullptr) *server = DefaultText(run.keys);
    if (!IsClassKey(key)) continue;
    CloseClass(run, open);
    open.open = true;
    open.key = key;
    open.name = key.error.empty() ? DefaultText(run.keys) : key.error;
  }
  CloseClass(run, open);
}

void ReportProgIds(ReportRun& run) {
  SourceKey key;
  SourceValue value;
  while (NextKey(run, key)) {
    const bool of_progid_key = IsProgIdKey(key);
    while (run.keys.NextValue(value)) {
      if (IsProgIdValue(value, of_progid_key)) AddProgId(run, key, value);
    }
  }
}

}  // namespace hivequarry
