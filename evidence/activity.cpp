// What the background and desktop activity moderators ("bam", "dam") keep: the last run of each
// program, by user.
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
