// What the shell counts of programs started: "UserAssist\{GUID}\Count". A value is an entry; its
// name is ciphered, its data are told apart by their length.
//    16 bytes, XP and Vista:      72 bytes, 7 and later:
//     0  4  session                0  4  session
//     4  4  runs, from 5 on        4  4  runs
//     8  8  last run, FILETIME     8  4  times in focus
//                                 12  4  milliseconds in focus
//                                 16 44  numbers whose meaning is not known
//                                 60  8  last run, FILETIME
//                                 68  4  0
//
// A time of 0 is none. Names are paths, known folders' GUIDs with a path, or ids of applications,
// with each letter moved by 13 places unless the value "NoEncrypt" beside the counters is 1.
#include <algorithm>

#include "evidence/decode.h"
#include "host/case.h"
#include "reports/report_run.h"

namespace hivequarry {
namespace {

constexpr size_t kOldEntry = 16;     // XP and Vista: session, runs, last run
constexpr size_t kEntry = 72;        // 7 and later
constexpr size_t kOldSession = 8;    // "UEME_CTLSESSION" of XP
constexpr size_t kSession = 1612;    // the same of 7 and later: statistics
constexpr uint32_t kFirstCount = 5;  // systems that write the old form begin to count here

// True for a name that says by itself that it is not ciphered. A ciphered path begins with a letter
// and a colon too, so that it is the ending that tells of paths.
bool IsPlainName(std::string_view name) {
  constexpr std::string_view kEndings[] = {".exe", ".lnk", ".msi", ".bat", ".cmd",
                                           ".com", ".scr", ".msc", ".cpl", ".url"};
  if (name.starts_with("UEME_") || name.starts_with("Microsoft.")) return true;
  const std::string_view guid = name.substr(0, std::min<size_t>(name.size(), 38));
  const bool letters = guid.find_first_of("ABCDEFabcdef") != std::string_view::npos;
  if (IsGuid(guid) && letters) return true;
  return std::ranges::any_of(
      kEndings, [&](std::string_view ending) { return EndsIgnoringCase(name, ending); });
}

// A deciphered name that shows by itself that it is one, by a mark of the shell's own or a known
// folder's GUID with a path; so that a wrong guess of the cipher is not taken for a name.
bool IsKnownName(std::string_view name) {
  return name.starts_with("UEME_") ||
         (name.size() > 38 && name[38] == '\\' && IsGuid(name.substr(0, 38)));
}

// Likewise, by more letters than an unlucky cipher gets right.
bool IsSurelyKnown(std::string_view name) {
  return IsKnownName(name) && (name.starts_with('{') || name.starts_with("UEME_CTL") ||
                               name.starts_with("UEME_RUN") || name.starts_with("UEME_UI"));
}

// Test versions of 7 moved each letter by the next letter of a key. Whether other characters used
// up a letter of the key is not documented: both are tried.
std::string WithoutTestCipher(std::string name, bool each_character) {
  constexpr std::string_view kKey = "BWHQNKTEZYFSLMRGXADUJOPIVC";
  size_t used = 0;
  for (char& c : name) {
    const bool small = c >= 'a' && c <= 'z';
    const bool letter = small || (c >= 'A' && c <= 'Z');
    const char first = small ? 'a' : 'A';
    const int shift = kKey[used % kKey.size()] - 'A';
    if (letter) c = static_cast<char>(first + (c - first + 26 - shift) % 26);
    used += letter || each_character;
  }
  return name;
}

struct ProgramName {
  std::string text;
  bool test_cipher = false;  // read by that of test versions
};
// The usual cipher where its result says that it is one, else that of the test versions where that
// says so without doubt, else the usual one all the same: most plain paths say nothing.
ProgramName DecipheredName(const std::string& name) {
  const std::string turned = Rot13(name);
  if (IsKnownName(turned)) return {turned};
  for (const bool each_character : {false, true}) {
    const std::string other = WithoutTestCipher(name, each_character);
    if (IsSurelyKnown(other)) return {other, true};
  }
  return {turned};
}

// Six cells: runs, times in focus, milliseconds in focus, last run, the count as stored, session.
void AddCounts(const EvidenceValue& value, EvidenceRow& row) {
  const ByteView data = value.data;
  const bool old = data.size() == kOldEntry;
  if (old || data.size() == kEntry) {
    const uint32_t count = ReadU32(data, 4);
    const uint32_t offset = old && count >= kFirstCount ? kFirstCount : 0;
    if (old && count > 0 && count < kFirstCount) row.Note("count below where counting begins");
    row.Number(count - offset);
    if (old) {
      row.Empty(2).Time(ReadU64(data, 8));
    } else {
      row.Number(ReadU32(data, 8)).Number(ReadU32(data, 12)).Time(ReadU64(data, 60));
    }
    row.Number(count).Number(ReadU32(data, 0));
    return;
  }
  row.Empty(5);
  if (data.size() == kOldSession) {
    row.Number(ReadU32(data, 0)).Note("session, no program");
  } else if (data.size() == kSession) {
    row.Empty().Note("statistics of the session, no program");
  } else {
    row.Empty();
    if (HasData(value, 0, row)) {
      row.Note("unknown form of " + std::to_string(data.size()) + " bytes");
    }
  }
}

void AddEntry(EvidenceRun& run, EvidenceKey key, const EvidenceValue& value, bool plain,
              const std::string& counter) {
  const ProgramName name = plain ? ProgramName{value.name} : DecipheredName(value.name);
  EvidenceRow row;
  row.Text(WithFolderWord(name.text));
  AddCounts(value, row);
  row.Text(name.text).Text(counter);
  if (name.test_cipher) row.Note("name ciphered as test versions of 7 did");
  AddEvidence(run, std::move(row), key, &value);
}

// "Settings" is a key beside the counters' keys.
bool IsStoredPlain(EvidenceRun& run, EvidenceKey counter) {
  const EvidenceKey settings = run.keys.ChildNamed(run.keys.ParentOf(counter), "Settings");
  return NumberOf(run.keys.ValueNamed(settings, "NoEncrypt")).value_or(0) == 1;
}

}  // namespace

void DecodeUserAssist(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) {
    // The key above has a GUID as its name, which says what is counted.
    const EvidenceKey above = run.keys.ParentOf(place.key);
    const bool plain = IsStoredPlain(run, above);
    const std::string counter = run.keys.NameOf(above);
    for (const EvidenceValue& value : run.keys.ValuesOf(place.key)) {
      AddEntry(run, place.key, value, plain || IsPlainName(value.name), counter);
    }
  }
}

// Length and deciphered name together: a length of 16 bytes alone has many values.
void DecodeLooseUserAssist(EvidenceRun& run, std::span<const EvidenceValue> values) {
  for (const EvidenceValue& value : values) {
    const size_t size = value.data.size();
    if (size != kEntry && size != kOldEntry && size != kSession) continue;
    if (IsKnownName(DecipheredName(value.name).text)) {
      AddEntry(run, kNoEvidenceKey, value, false, {});
    }
  }
}

}  // namespace hivequarry
