// Services and uninstall entries: the values of a key that tell what it installs.
#include <iterator>

#include "hive/root_path.h"
#include "reports/report_run.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr const char* kStartNames[] = {"Boot Start", "System Start", "Auto Start", "By Demand",
                                       "Disabled"};
// Whole numbers: a combination of these bits that stands for no kind is shown as a number.
constexpr struct {
  uint32_t type;
  const char* name;
} kTypeNames[] = {{1, "Device Driver"},   {2, "File System Driver"},
                  {4, "Adapter"},         {8, "Recognizer"},
                  {11, "Driver"},         {16, "own process"},
                  {32, "shared process"}, {48, "Win32"},
                  {256, "interactive"},   {319, "All"}};

std::string NumberText(uint32_t number) { return std::to_string(static_cast<int32_t>(number)); }

std::string ServiceStartName(uint32_t start) {
  return start < std::size(kStartNames) ? kStartNames[start] : NumberText(start);
}

std::string ServiceTypeName(uint32_t type) {
  for (const auto& [known, name] : kTypeNames) {
    if (known == type) return name;
  }
  return NumberText(type);
}

// A number by its name; what should be one and is not, as lists show it.
std::string NumberCell(const SourceValue& value, std::string (*name)(uint32_t)) {
  const bool number = value.read && value.type == kRegDword && value.data.size() == 4;
  return number ? name(LoadU32(value.data.data())) : value.text;
}

void SetUnlessEmpty(std::string& cell, std::string text) {
  if (!text.empty()) cell = std::move(text);
}

struct Service {
  std::string start, display_name, image_path, group, type, description;
};

// Any value whose name has "imagepath" in it counts as the path; an empty text does not replace
// one.
void FillService(const SourceValue& value, Service& service) {
  const auto named = [&](const char* name) { return EqualIgnoringCase(value.name, name); };
  if (named("start")) {
    service.start = NumberCell(value, ServiceStartName);
  } else if (named("displayname")) {
    SetUnlessEmpty(service.display_name, DataCell(value));
  } else if (ContainsIgnoringCase(value.name, "imagepath")) {
    SetUnlessEmpty(service.image_path, DataCell(value));
  } else if (named("group")) {
    SetUnlessEmpty(service.group, DataCell(value));
  } else if (named("type")) {
    service.type = NumberCell(value, ServiceTypeName);
  } else if (named("description")) {
    SetUnlessEmpty(service.description, DataCell(value));
  }
}

// Cells of one program's row. A key without any value gives none.
struct Installed {
  std::string display_name, uninstall_string;
  bool any_value = false;
};

// The plain form wins over the quiet one, whichever comes first.
void KeepPlainForm(std::string& cell, bool quiet, std::string text) {
  if (!quiet || cell.empty()) SetUnlessEmpty(cell, std::move(text));
}

// An entry counts as one by any value of its key, also one that is not shown.
void FillInstalled(const SourceValue& value, Installed& entry) {
  const auto named = [&](const char* name) { return EqualIgnoringCase(value.name, name); };
  entry.any_value = true;
  const bool quiet_name = named("quietdisplayname");
  const bool quiet_string = named("quietuninstallstring");
  if (quiet_name || named("displayname")) {
    KeepPlainForm(entry.display_name, quiet_name, DataCell(value));
  } else if (quiet_string || named("uninstallstring")) {
    KeepPlainForm(entry.uninstall_string, quiet_string, DataCell(value));
  }
}

}  // namespace

void ReportServices(ReportRun& run) {
  SourceKey key;
  SourceValue value;
  while (NextKey(run, key)) {
    if (key.level < 2) continue;
    run.keys.SkipChildren();
    Service service;
    service.display_name = key.error;
    while (run.keys.NextValue(value)) FillService(value, service);
    AddReportRow(run.list,
                 {key.path,
                  service.start,
                  service.display_name,
                  service.image_path,
                  service.group,
                  service.type,
                  service.description,
                  {KeyDateText(key), DateValue(key.last_write)},
                  run.keys.ControlSet()},
                 SubjectOf(key));
  }
}

void ReportUninstall(ReportRun& run) {
  SourceKey key;
  SourceValue value;
  while (NextKey(run, key)) {
    if (key.level >= 2) run.keys.SkipChildren();
    Installed entry;
    entry.display_name = key.error;
    while (run.keys.NextValue(value)) FillInstalled(value, entry);
    if (!entry.any_value && key.error.empty()) continue;
    AddReportRow(run.list,
                 {{KeyDateText(key), DateValue(key.last_write)},
                  key.path,
                  entry.display_name,
                  entry.uninstall_string},
                 SubjectOf(key));
  }
}

}  // namespace hivequarry
