// How the local security authority is set: packages that it loads, what it lets through, what is
// audited.
#include "evidence/decode.h"
#include "host/case.h"
#include "host/number_text.h"
#include "lists/list_rows.h"

namespace hivequarry {
namespace {

// Patterns of the decoder.
enum : size_t { kLsa, kDigest, kAudit };

// Values of "Lsa" and of "WDigest" ("UseLogonCredential" is that of the latter); all others of
// these keys are not listed.
constexpr const char* kSettings[] = {"Authentication Packages",   "Security Packages",
                                     "Notification Packages",     "RunAsPPL",
                                     "LmCompatibilityLevel",      "NoLmHash",
                                     "RestrictAnonymous",         "RestrictAnonymousSam",
                                     "EveryoneIncludesAnonymous", "ForceGuest",
                                     "LimitBlankPasswordUse",     "DisableDomainCreds",
                                     "DisableRestrictedAdmin",    "CrashOnAuditFail",
                                     "AuditBaseObjects",          "AuditBaseDirectories",
                                     "FullPrivilegeAuditing",     "SCENoApplyLegacyAuditPolicy",
                                     "TokenLeakDetectDelaySecs",  "UseLogonCredential"};

// In the order in which both forms of the audit record have them.
constexpr const char* kCategories[] = {
    "System",           "Logon and logoff", "Object access",      "Privilege use",
    "Process tracking", "Policy change",    "Account management", "Directory service access",
    "Account logon"};
constexpr uint32_t kCategoryCount = std::size(kCategories);

const char* AuditWord(uint32_t setting) {
  constexpr const char* kWords[] = {"none", "success", "failure", "success and failure"};
  return setting < std::size(kWords) ? kWords[setting] : "unknown";
}

void AddSetting(EvidenceRun& run, const EvidencePlace& place, const EvidenceValue& value,
                std::string_view name, std::string text) {
  EvidenceRow row;
  row.Text(std::string(name)).Text(std::move(text));
  row.Text(place.control_set);
  HasData(value, 0, row);
  AddEvidence(run, std::move(row), place.key, &value);
}

// Of "PolAdtEv" since Vista; false for another form, without a row:
//
//    4  4  number of categories, 9
//    8  4  where the counts of their settings are, from the start of the data; 2 bytes each
//   12  2  each setting, those of the first category first, up to the counts
//
// Bit 0 of a setting audits success, bit 1 failure. The order of settings within a category is the
// system's own; they are numbered from 1.
bool AddNewAudit(EvidenceRun& run, const EvidencePlace& place, const EvidenceValue& value) {
  constexpr uint32_t kFirst = 12;
  const ByteView data = value.data;
  const uint32_t counts = ReadU32(data, 8);
  if (ReadU32(data, 4) != kCategoryCount || !IsInside(data, counts, 2 * kCategoryCount)) {
    return false;
  }
  uint32_t at = kFirst;
  for (uint32_t category = 0; category < kCategoryCount; ++category) {
    const uint32_t count = ReadU16(data, counts + 2 * category);
    std::string text;
    for (uint32_t i = 1; i <= count && at + 2 <= counts; ++i, at += 2) {
      text +=
          Concat({text.empty() ? "" : ", ", std::to_string(i), ": ", AuditWord(ReadU16(data, at))});
    }
    AddSetting(run, place, value, Concat({"Audit: ", kCategories[category]}), std::move(text));
  }
  return true;
}

// The same before Vista, 44 bytes: 0 1 whether auditing is switched on at all, 4 4 for each
// category, 40 4 their number.
bool AddOldAudit(EvidenceRun& run, const EvidencePlace& place, const EvidenceValue& value) {
  const ByteView data = value.data;
  const auto count_at = static_cast<uint32_t>(4 + 4 * kCategoryCount);
  if (data.size() != count_at + 4 || ReadU32(data, count_at) != kCategoryCount) return false;
  AddSetting(run, place, value, "Audit", ReadU8(data, 0) == 0 ? "off" : "on");
  for (uint32_t category = 0; category < kCategoryCount; ++category) {
    AddSetting(run, place, value, Concat({"Audit: ", kCategories[category]}),
               AuditWord(ReadU32(data, 4 + 4 * category)));
  }
  return true;
}

void AddAudit(EvidenceRun& run, const EvidencePlace& place, const EvidenceValue& value) {
  if (!value.name.empty()) return;
  const bool known = AddNewAudit(run, place, value) || AddOldAudit(run, place, value);
  if (!known) AddSetting(run, place, value, "Audit", "unknown form");
}

// Short binary data, which have no text, are shown as bytes.
void AddKnownSetting(EvidenceRun& run, const EvidencePlace& place, const EvidenceValue& value) {
  for (const char* name : kSettings) {
    if (!EqualIgnoringCase(name, value.name)) continue;
    std::string text = ValueText(value);
    if (text.empty() && value.data.size() <= 4) text = BytesText(value.data);
    AddSetting(run, place, value, name, std::move(text));
  }
}

}  // namespace

void DecodePolicies(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) {
    const auto add = place.pattern == kAudit ? AddAudit : AddKnownSetting;
    for (const EvidenceValue& value : run.keys.ValuesOf(place.key)) add(run, place, value);
  }
}

}  // namespace hivequarry
