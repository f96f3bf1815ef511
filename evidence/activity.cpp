// What the background and desktop activity moderators ("bam", "dam") keep: the last run of each
// program, by user.
// A value's name is a program's path ("\Device\HarddiskVolume2\..."), or a package's name; its
// data:
//
//    0  8  last run, FILETIME, UTC
//    8  8  0
//   16  4  0 a program of the desktop, 1 a packaged one
//   20  4  2 on all hives seen
//
// Systems from version 1709 of Windows 10 on; since 1809 below "State", and after an upgrade in
// both places. The key's name is the user's SID.
#include "evidence/decode.h"
#include "evidence/mru.h"
#include "host/case.h"

namespace hivequarry {
namespace {

constexpr size_t kTime = 8;
constexpr uint32_t kKind = 16;  // 0 a program, 1 a packaged one

// Values that are about the key, not about a program.
bool IsOwn(const EvidenceValue& value) {
  return value.name.empty() || EqualIgnoringCase(value.name, "Version") ||
         EqualIgnoringCase(value.name, "SequenceNumber");
}

// Data that end before the kind leave its cell empty; another number than those two is shown as it
// is.
void AddProgram(EvidenceRun& run, EvidenceKey key, const EvidenceValue& value,
                const std::string& user, const std::string& moderator, const std::string& set) {
  EvidenceRow row;
  row.Text(value.name);
  if (HasData(value, kTime, row)) {
    row.Time(ReadU64(value.data, 0));
  } else {
    row.Empty();
  }
  row.Text(user);
  const bool has_kind = value.data.size() >= kKind + 4;
  const uint32_t kind = ReadU32(value.data, kKind);
  row.Text(!has_kind ? "" : kind == 0 ? "desktop" : kind == 1 ? "package" : std::to_string(kind));
  row.Text(moderator).Text(set);
  AddEvidence(run, std::move(row), key, &value);
}

}  // namespace

void DecodeActivity(EvidenceRun& run, Places places) {
  // The patterns of "bam" come first, with and without "State", then the same of "dam".
  constexpr size_t kFirstDam = 2;  // of the patterns
  for (const EvidencePlace& place : places) {
    const std::string user = run.keys.NameOf(place.key);
    for (const EvidenceValue& value : run.keys.ValuesOf(place.key)) {
      if (IsOwn(value)) continue;
      AddProgram(run, place.key, value, user, place.pattern < kFirstDam ? "bam" : "dam",
                 place.control_set);
    }
  }
}

// Name and length together are rare enough elsewhere to tell such a value by.
void DecodeLooseActivity(EvidenceRun& run, std::span<const EvidenceValue> values) {
  constexpr size_t kSize = 24;
  for (const EvidenceValue& value : values) {
    const bool program = StartsIgnoringCase(value.name, "\\Device\\HarddiskVolume");
    if (program && value.data.size() == kSize) {
      AddProgram(run, kNoEvidenceKey, value, {}, {}, {});
    }
  }
}

}  // namespace hivequarry
