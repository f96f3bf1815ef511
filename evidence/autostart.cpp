// What a system starts by itself: a table of the places where programs are named for that, below
// the roots of hives of the machine and of users, and what users have switched off.
#include <algorithm>
#include <map>

#include "evidence/decode.h"
#include "host/case.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

// Where the paths of a row begin.
enum class StartOf : uint8_t {
  kSoftware,  // below "Microsoft" of SOFTWARE and of a user's "Software", 32-bit branches too
  kUser,      // a user's hive from its root
  kSystem,    // below a control set
};
// A place, and which values of its key name programs. A path that ends in "*" has a key for each
// entry: it is the key's name that its rows are called by.
struct StartPlace {
  StartOf of;
  const char* path;  // the place pattern below that
  const char* word;
  const char* values;  // names, "|" between them; null: all
};
constexpr StartPlace kPlaces[] = {
    {StartOf::kSoftware, "Windows\\CurrentVersion\\!Run", "Run", nullptr},
    {StartOf::kSoftware, "Windows\\CurrentVersion\\!RunOnce", "RunOnce", nullptr},
    {StartOf::kSoftware, "Windows\\CurrentVersion\\!RunOnceEx", "RunOnceEx", nullptr},
    {StartOf::kSoftware, "Windows\\CurrentVersion\\!RunOnceEx\\*", "RunOnceEx", nullptr},
    {StartOf::kSoftware, "Windows\\CurrentVersion\\!RunServices", "RunServices", nullptr},
    {StartOf::kSoftware, "Windows\\CurrentVersion\\!RunServicesOnce", "RunServicesOnce", nullptr},
    {StartOf::kSoftware, "Windows\\CurrentVersion\\Policies\\Explorer\\Run", "Policies Run",
     nullptr},
    {StartOf::kSoftware, "Windows\\CurrentVersion\\Policies\\System", "Policies Shell", "Shell"},
    {StartOf::kSoftware, "Windows NT\\CurrentVersion\\!Winlogon", "Winlogon",
     "Shell|Userinit|System|Taskman|VmApplet|GinaDLL|UIHost|AppSetup"},
    {StartOf::kSoftware, "Windows NT\\CurrentVersion\\Winlogon\\Notify\\*", "Winlogon Notify",
     "DllName"},
    {StartOf::kSoftware, "Windows NT\\CurrentVersion\\Windows", "Windows",
     "AppInit_DLLs|Load|Run|IconServiceLib"},
    {StartOf::kSoftware, "Windows NT\\CurrentVersion\\!Image File Execution Options\\*",
     "Image File Execution Options", "Debugger|VerifierDlls"},
    {StartOf::kSoftware, "Windows NT\\CurrentVersion\\!SilentProcessExit\\*", "SilentProcessExit",
     "MonitorProcess"},
    {StartOf::kSoftware, "Active Setup\\Installed Components\\*", "Active Setup", "StubPath"},
    {StartOf::kSoftware, "Command Processor", "Command Processor", "AutoRun"},
    {StartOf::kSoftware, "Windows\\CurrentVersion\\!ShellServiceObjectDelayLoad",
     "ShellServiceObjectDelayLoad", nullptr},
    {StartOf::kUser, "Environment", "Logon script", "UserInitMprLogonScript"},
    {StartOf::kUser, "Control Panel\\Desktop", "Screen saver", "SCRNSAVE.EXE"},
    {StartOf::kSystem, "Control\\Session Manager", "Session Manager",
     "BootExecute|SetupExecute|Execute|S0InitialCommand"},
    {StartOf::kSystem, "Control\\SafeBoot", "SafeBoot", "AlternateShell"},
    {StartOf::kSystem, "Control\\Print\\Monitors\\*", "Print monitor", "Driver"},
    {StartOf::kSystem, "Control\\NetworkProvider\\Order", "Network providers", "ProviderOrder"},
    {StartOf::kSystem, "Control\\Terminal Server\\Wds\\rdpwd", "Terminal Server",
     "StartupPrograms"},
};

// Whether the user lets start what another place names; from Windows 8 on. The list's name says
// which place is meant ("Run", "Run32" of the 32-bit branch, "StartupFolder"), the value's name
// which entry there.
constexpr PlacePattern kApproved[] = {
    "Microsoft\\Windows\\CurrentVersion\\Explorer\\!StartupApproved\\*",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\!StartupApproved\\*"};

// `names` as StartPlace::values has them; any name is among null.
bool IsAmong(const char* names, std::string_view name) {
  if (names == nullptr) return true;
  std::string_view left = names;
  while (!left.empty()) {
    const size_t end = std::min(left.find('|'), left.size());
    if (EqualIgnoringCase(left.substr(0, end), name)) return true;
    left.remove_prefix(std::min(end + 1, left.size()));
  }
  return false;
}

// Of the value's data, 12 bytes, whose first byte alone decides: even lets it start.
//
//    0  4  number; bit 0 set: does not start
//    4  8  since when it is switched off, FILETIME, UTC; 0 while it may start
//
// Data that end before the time still say yes or no.
struct Approval {
  bool approved = true;
  uint64_t since = 0;
};
// Reads of data that are not all there give 0, which is yes: callers ask HasData first.
Approval ReadApproval(ByteView data) {
  return {(ReadU8(data, 0) & 1) == 0, data.size() >= 12 ? ReadU64(data, 4) : 0};
}

// A place below one of the roots.
struct StartPattern {
  std::string path;  // below the root, may hold "<set>"
  const StartPlace* place;
  bool wow;  // in the 32-bit branch
};
// The place is part of what is found by the pattern's number, so order and number of both are the
// same.
// SOFTWARE has "Microsoft" at its root, a user's hive below "Software"; both may have a 32-bit
// branch.
std::vector<StartPattern> MakePatterns() {
  std::vector<StartPattern> patterns;
  for (const StartPlace& place : kPlaces) {
    const std::string path = place.path;
    switch (place.of) {
      case StartOf::kSoftware:
        patterns.push_back({"Microsoft\\" + path, &place, false});
        patterns.push_back({"Wow6432Node\\Microsoft\\" + path, &place, true});
        patterns.push_back({"Software\\Microsoft\\" + path, &place, false});
        patterns.push_back({"Software\\Wow6432Node\\Microsoft\\" + path, &place, true});
        break;
      case StartOf::kUser:
        patterns.push_back({path, &place, false});
        break;
      case StartOf::kSystem:
        patterns.push_back({"<set>\\" + path, &place, false});
        break;
    }
  }
  return patterns;
}

// By "Run" or "Run32" and the value's name, in capitals.
using Approvals = std::map<std::pair<std::string, std::string>, Approval>;

// Approvals first: the rows of the places say what they decided.
class StartList {
 public:
  explicit StartList(EvidenceRun& run) : run_(run) {}

  void AddApprovals() {
    for (const EvidencePlace& place : FindPlaces(run_.keys, kApproved)) {
      const std::string list = run_.keys.NameOf(place.key);
      for (const EvidenceValue& value : run_.keys.ValuesOf(place.key)) {
        if (value.name.empty()) continue;
        EvidenceRow row;
        const bool read = HasData(value, 4, row);
        const Approval approval = ReadApproval(value.data);
        row.Text("StartupApproved " + list).Text(value.name).Empty();
        AddApproval(read ? &approval : nullptr, row);
        AddEvidence(run_, std::move(row), place.key, &value);
        if (!read || value.freed) continue;
        approvals_.emplace(std::pair(CapitalsOfText(list), CapitalsOfText(value.name)), approval);
      }
    }
  }

  void AddPlaces() {
    const std::vector<StartPattern> starts = MakePatterns();
    std::vector<PlacePattern> patterns;
    patterns.reserve(starts.size());
    for (const StartPattern& start : starts) patterns.push_back(start.path.c_str());
    for (const EvidencePlace& place : FindPlaces(run_.keys, patterns)) {
      AddPlace(place, *starts[place.pattern].place, starts[place.pattern].wow);
    }
  }

 private:
  // Two cells: yes or no, and since when not. Null leaves both empty: nothing was decided.
  static void AddApproval(const Approval* approval, EvidenceRow& row) {
    if (approval == nullptr) {
      row.Empty(2);
      return;
    }
    row.Text(approval->approved ? "yes" : "no").Time(approval->since);
  }

  // Approvals are found by the place's word and the value's name, so the words of kPlaces are the
  // names of the lists below "StartupApproved".
  void AddPlace(const EvidencePlace& at, const StartPlace& place, bool wow) {
    const bool by_key = std::string_view(place.path).ends_with('*');
    for (const EvidenceValue& value : run_.keys.ValuesOf(at.key)) {
      if (!IsAmong(place.values, value.name)) continue;
      EvidenceRow row;
      const std::string command = HasData(value, 0, row) ? ValueText(value) : std::string();
      if (value.name.empty() && command.empty()) continue;
      row.Text(wow ? std::string(place.word) + " (32-bit)" : place.word);
      row.Text(by_key ? run_.keys.NameOf(at.key) : value.name).Text(command);
      const std::string list = Concat({place.word, wow ? "32" : ""});
      const auto found =
          approvals_.find(std::pair(CapitalsOfText(list), CapitalsOfText(value.name)));
      AddApproval(found == approvals_.end() ? nullptr : &found->second, row);
      row.Text(at.control_set);
      NoteTail(value, row);
      AddEvidence(run_, std::move(row), at.key, &value);
    }
  }

  EvidenceRun& run_;
  Approvals approvals_;
};

}  // namespace

void DecodeAutostart(EvidenceRun& run, Places) {
  StartList list(run);
  list.AddApprovals();
  list.AddPlaces();
}

}  // namespace hivequarry
