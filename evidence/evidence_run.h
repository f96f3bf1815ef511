// What decoders of evidence are made with: the keys where their structure begins, the fields of
// their data, and their rows. RunDecoder (decoders.h) is what callers use.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "bytes/byte_view.h"
#include "evidence/evidence_keys.h"
#include "evidence/places.h"
#include "hive/timestamp.h"
#include "lists/output_list.h"

namespace hivequarry {

// Of a row of evidence, the cells of its kind's own columns in their order. What can't be read has
// an empty cell and a word in the notes.
// A cell too many is dropped when the row is added.
class EvidenceRow {
 public:
  // Each adds one cell, in the order of the kind's columns, and gives the row back so that calls
  // may follow one another. `text` is UTF-8; lists show it in one line.
  EvidenceRow& Text(std::string text);
  EvidenceRow& Number(uint64_t number);
  EvidenceRow& Number(std::optional<uint64_t> number) { return number ? Number(*number) : Empty(); }
  EvidenceRow& Empty(size_t count = 1);
  // FILETIME, UTC; 0 is no time. One that no clock shows is given as its number, with a note.
  EvidenceRow& Time(uint64_t file_time);
  // The same of a time in a zone that nothing says: shown as it is whatever zone was chosen.
  EvidenceRow& LocalTime(uint64_t file_time);
  // A packed DOS date and time, UTC; 0 is none.
  EvidenceRow& DosTime(uint32_t dos_date_time);
  // Words that the row has already are not said twice.
  EvidenceRow& Note(std::string_view words);

  struct Part {
    std::string text;
    uint64_t value = kNoValue;  // what the cell is sorted by
  };
  std::vector<Part> cells;
  std::string notes;  // joined with "; "
};

// Which keys and values of the state before the logs differ from that after them.
struct LostRecords {
  std::unordered_set<uint32_t> removed;  // positions of keys and values in the file
  std::unordered_set<uint32_t> changed;
};

// One run of a decoder. Refers to what the caller has: all of it must outlive the run.
struct EvidenceRun {
  EvidenceKeys& keys;
  OutputList& list;
  int own_columns = 0;                // of the list's kind, before those that all have
  uint32_t branch = 0;                // item: rows about keys elsewhere are left out
  const LostRecords* lost = nullptr;  // set: the state before the logs, of which these alone count
};

// A row about a value, or about a key where `value` is null; `bytes` are what was decoded, the
// value's data unless they are given. A row of no key tells of a value that no key names.
// Cells that the row lacks are empty. Nothing is added for a row that is outside the branch, or,
// for the state before the logs, about a record that is still there. The row's datum is the
// position of the value, else of the key. `value` and `bytes` are not kept.
void AddEvidence(EvidenceRun& run, EvidenceRow row, EvidenceKey key,
                 const EvidenceValue* value = nullptr);
void AddEvidence(EvidenceRun& run, EvidenceRow row, EvidenceKey key, const EvidenceValue* value,
                 ByteView bytes);

// Why a value's data can't be decoded: that they could not be read, or their length. Adds to the
// notes; true when they have at least `length` bytes.
bool HasData(const EvidenceValue& value, size_t length, EvidenceRow& row);

// --- fields of data ------------------------------------------------------------------------------

// FILETIME of calendar fields, read as UTC: the time zone is the caller's business. Nothing where
// they are no day and time that a calendar has, as the 31st of April, or before 1601.
std::optional<uint64_t> FileTimeOfFields(const CalendarTime& fields);
// A date as lists show it, with its fraction of a second as seven digits where it has one; the
// suffix of the shown zone comes last. Empty for a time that no clock shows.
std::string FileTimeText(uint64_t file_time);

// Where the first zero of a UTF-16 text is; where the bytes end, when it has none.
size_t WideEnd(ByteView bytes);
// UTF-16 up to the first zero, in one line; at most `limit` characters.
inline constexpr size_t kEvidenceText = 32767;
std::string WideText(ByteView bytes, size_t limit = kEvidenceText);
// Single bytes up to the first zero, in the code page; at most `limit` bytes.
std::string NarrowText(ByteView bytes, size_t limit = kEvidenceText);
// String data as WideText; a list of strings joined with ", "; numbers decimal; else empty.
std::string ValueText(const EvidenceValue& value);
// The same of a key's value by name; empty for none.
std::string TextNamed(const std::vector<EvidenceValue>& values, std::string_view name);
// A number of four or eight bytes, of whatever type but those of strings; nothing for data that
// could not be read. The second form finds the value by its name first, ignoring case.
std::optional<uint64_t> NumberOf(const EvidenceValue& value);
std::optional<uint64_t> NumberNamed(const std::vector<EvidenceValue>& values,
                                    std::string_view name);
// The FILETIME in the eight bytes of a value; 0 for no such value and for another length.
uint64_t TimeNamed(const std::vector<EvidenceValue>& values, std::string_view name);
// Says where text data go on after their first zero with anything but zeros.
// What is there is left from a longer text, or was put there to be overlooked.
void NoteTail(const EvidenceValue& value, EvidenceRow& row);

// "{20D04FE0-3AEA-1069-A2D8-08002B30309D}" of the sixteen bytes from `at` on, as the system stores
// them: the first three parts with their lowest byte first. Empty when the bytes end before.
std::string GuidAt(ByteView bytes, size_t at);
// "{8-4-4-4-12}", hexadecimal digits of either case, and nothing after it.
bool IsGuid(std::string_view text);
// A path that begins with a known folder's GUID, with the folder's name in its place.
std::string WithFolderWord(std::string_view path);
// "0x" and at least `width` digits.
std::string HexText(uint64_t number, size_t width = 8);

}  // namespace hivequarry
