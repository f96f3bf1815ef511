// Special reports on the live registry.

#include "live/live_keys.h"

namespace hivequarry {
namespace {

// Where a report goes on after its own root, on machines that have such a key: what 32-bit
// programs and the user's own leave.
struct FurtherRoot {
  Report report;
  const char* path;
};
constexpr FurtherRoot kFurtherRoots[] = {
    {Report::kUninstall,
     "HKLM\\SOFTWARE\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\Uninstall"},
    {Report::kUninstall, "HKCU\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall"},
};

bool IsMissing(const char* path) {
  SourceKey key;
  const bool given = KeysOfRegistry(path)->NextKey(key);
  return !given || key.error == RegistryErrorText(kRegistryNotFound);
}

}  // namespace

void RunReportOnRegistry(Report report, OutputList& list) {
  const ReportInfo& info = InfoOf(report);
  if (info.live_kind == 0 || info.live_root == nullptr) return;
  RunReport(report, *KeysOfRegistry(info.live_root), true, list);
  for (const FurtherRoot& root : kFurtherRoots) {
    if (root.report != report || IsMissing(root.path)) continue;
    RunReport(report, *KeysOfRegistry(root.path), true, list);
  }
}

}  // namespace hivequarry
