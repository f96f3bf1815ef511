// The cache of the system's application compatibility: files of programs that it looked at, in one
// value, newest first. Each generation of the system has a form of its own, told by what the value
// begins with. The times are the files' last changes, not those of runs.
// Positions below count from the start of the data; lengths of paths are bytes of UTF-16.
//
//    XP, 32-bit: 0xDEADBEEF, entries +8 (4), from 0x190 on 552 bytes each:
//       0 path (528), 528 modified, 536 size of the file, 544 last update (8 each)
//    2003, Vista: 0xBADC0FFE, entries +4 (4), from 8 on 24 or 32 bytes each;
//    7, 2008 R2:  0xBADC0FEE, entries +4 (4), from 0x80 on 32 or 48 bytes each. 32-bit / 64-bit:
//       0 length of the path (2), 2 room (2), 4 / 8 where the path is (4 / 8),
//       8 / 16 modified (8), 16 / 24 flags (4); in 2003 the file's size (8) instead
//    8: 0x80, "00ts" from there; 8.1: 0x80, "10ts"; 10 and 11: 0x30 or 0x34, "10ts":
//       0 letters, 4 check, 8 length of what follows (4 each), then
//       length of the path (2), path, in 8.x of the package (2) and it, flags (4), 0 (4),
//       modified (8), length of further data (4), these
//
// Flag 2 says that the program was run; systems from 10 on have no flag that is agreed to say so.
#include <algorithm>
#include <optional>

#include "evidence/decode.h"
#include "host/case.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

constexpr uint32_t kXp = 0xDEADBEEF;
constexpr uint32_t kVista = 0xBADC0FFE;  // 2003 and Vista
constexpr uint32_t kSeven = 0xBADC0FEE;  // 7 and 2008 R2
constexpr uint32_t kEight = 0x80;        // size of the header
constexpr uint32_t kTen = 0x30;
constexpr uint32_t kTenLater = 0x34;
constexpr uint32_t kEntry8 = 0x73743030;   // "00ts"
constexpr uint32_t kEntry81 = 0x73743031;  // "10ts", of 10 too
constexpr uint64_t kWasRun = 2;            // of an entry's flags
constexpr uint32_t kRunFlagless = 3;       // greater: a file's size, no flags

// `bytes` is a view of the value's data, of the entry without the path where that is elsewhere.
struct CacheEntry {
  std::string path;
  std::string package;    // of 8 and later: of an app from the store
  uint64_t modified = 0;  // of the file, FILETIME, UTC; 0: none
  uint64_t updated = 0;   // of the entry, FILETIME, UTC; XP alone
  std::optional<uint64_t> size;
  // Nothing for a form that does not keep it.
  std::optional<bool> run;
  ByteView bytes;
  std::string note;  // why there is no path
};

// What was read of one value; `form` names the systems whose layout it has.
struct Cache {
  const char* form = "";
  std::vector<CacheEntry> entries;
  std::string note;  // why there are no more
};

// Paths that entries name may be one and the same: how many bytes of them are still shown.
// Twice the data in all: a sound cache names each byte once.
struct PathBudget {
  size_t left;
  bool Take(size_t size) {
    if (size > left) return false;
    left -= size;
    return true;
  }
};

// Of packaged programs the text has fields between tabs.
std::string PathText(ByteView bytes) {
  std::string text;
  size_t start = 0;
  for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
    if (LoadU16(bytes.data() + at) != '\t') continue;
    text += WideText(bytes.subspan(start, at - start)) + " | ";
    start = at + 2;
  }
  return text + WideText(bytes.subspan(std::min(start, bytes.size())));
}

// Its entries have a fixed room for the path, which ends at a zero; there is no flag of a run.
void ReadXp(ByteView data, Cache& cache) {
  constexpr uint32_t kHeader = 0x190;
  constexpr uint32_t kPathBytes = 528;
  constexpr uint32_t kSize = 552;
  cache.form = "XP";
  const uint32_t count = ReadU32(data, 8);
  for (uint32_t i = 0; i < count; ++i) {
    const uint64_t at = kHeader + uint64_t{i} * kSize;
    if (at + kSize > data.size()) {
      cache.note = Concat({"the header counts ", std::to_string(count), " entries"});
      return;
    }
    const ByteView bytes = data.subspan(static_cast<size_t>(at), kSize);
    CacheEntry entry;
    entry.bytes = bytes;
    entry.path = WideText(bytes.first(kPathBytes));
    entry.modified = ReadU64(bytes, kPathBytes);
    entry.size = ReadU64(bytes, kPathBytes + 8);
    entry.updated = ReadU64(bytes, kPathBytes + 16);
    cache.entries.push_back(std::move(entry));
  }
}

// The forms whose entries lie side by side and lead to their paths.
struct TableForm {
  // Where the first entry begins, and how long each is by the width of the system.
  uint32_t header;
  uint32_t size32;
  uint32_t size64;
};

// Fills the path or says why there is none; nothing else of the entry depends on that.
void ReadPathOf(ByteView data, bool wide, PathBudget& budget, CacheEntry& entry) {
  const uint16_t length = ReadU16(entry.bytes, 0);
  const uint64_t at = wide ? ReadU64(entry.bytes, 8) : ReadU32(entry.bytes, 4);
  if (at > data.size() || length > data.size() - at) {
    entry.note = "the path lies beyond the data";
  } else if (!budget.Take(length)) {
    entry.note = "the path is not shown: many entries share its bytes";
  } else {
    entry.path = PathText(data.subspan(static_cast<size_t>(at), length));
  }
}

void ReadTable(ByteView data, const TableForm& form, Cache& cache) {
  const uint32_t count = ReadU32(data, 4);
  const uint16_t length = ReadU16(data, form.header);
  const uint16_t room = ReadU16(data, form.header + 2);
  // The path has room for its zero, and on 64-bit systems four zeros are before its place: of the
  // first entry both tell which layout all entries have.
  const bool wide = room - length == 2 && ReadU32(data, form.header + 4) == 0;
  const uint32_t size = wide ? form.size64 : form.size32;
  PathBudget budget{2 * data.size()};
  for (uint32_t i = 0; i < count; ++i) {
    const uint64_t at = form.header + uint64_t{i} * size;
    if (at + size > data.size()) {
      cache.note = Concat({"the header counts ", std::to_string(count), " entries"});
      return;
    }
    CacheEntry entry;
    entry.bytes = data.subspan(static_cast<size_t>(at), size);
    ReadPathOf(data, wide, budget, entry);
    entry.modified = ReadU64(entry.bytes, wide ? 16 : 8);
    cache.entries.push_back(std::move(entry));
  }
}

// Where the time of an entry of such a table ends: flags, or in 2003 the size of the file.
uint32_t AfterTime(const CacheEntry& entry, const TableForm& form) {
  return entry.bytes.size() == form.size64 ? 24 : 16;
}

void ReadSeven(ByteView data, Cache& cache) {
  constexpr TableForm kForm = {0x80, 32, 48};
  cache.form = "7";
  ReadTable(data, kForm, cache);
  for (CacheEntry& entry : cache.entries) {
    entry.run = (ReadU32(entry.bytes, AfterTime(entry, kForm)) & kWasRun) != 0;
  }
}

// 2003 and Vista share magic and layout, but for the last number: flags are small, a file's size is
// not. One entry with more than the flags can be tells for all.
void ReadVista(ByteView data, Cache& cache) {
  constexpr TableForm kForm = {8, 24, 32};
  ReadTable(data, kForm, cache);
  const bool sizes = std::ranges::any_of(cache.entries, [&](const CacheEntry& entry) {
    return ReadU32(entry.bytes, AfterTime(entry, kForm)) > kRunFlagless;
  });
  cache.form = sizes ? "2003" : "Vista";
  for (CacheEntry& entry : cache.entries) {
    const uint64_t last = ReadU64(entry.bytes, AfterTime(entry, kForm));
    if (sizes) {
      entry.size = last;
    } else {
      entry.run = (last & kWasRun) != 0;
    }
  }
}

// Entries one after another, each with its length. Those of 8 and 8.1 have flags after their texts.
struct ChainForm {
  bool package;  // a package's name comes after the path
  bool flags;
};

// False when the parts do not take the entry's whole length.
bool ReadChained(ByteView body, const ChainForm& form, CacheEntry& entry) {
  uint32_t at = 0;
  const uint16_t path = ReadU16(body, at);
  at += 2;
  const ByteView path_bytes = PartOf(body, at, path);
  at += path;
  ByteView package_bytes;
  if (form.package) {
    const uint16_t package = ReadU16(body, at);
    package_bytes = PartOf(body, at + 2, package);
    at += 2 + uint32_t{package};
  }
  const uint32_t flags = ReadU32(body, at);
  if (form.flags) at += 8;
  const uint64_t modified = ReadU64(body, at);
  const uint64_t end = uint64_t{at} + 12 + ReadU32(body, at + 8);
  if (!IsInside(body, at, 12) || end != body.size()) return false;
  entry.path = PathText(path_bytes);
  entry.package = PathText(package_bytes);
  entry.modified = modified;
  if (form.flags) entry.run = (flags & kWasRun) != 0;
  return true;
}

// Stops at what has no magic of an entry; each entry takes its head at least, so that the data
// bound the loop. One whose length leads beyond the data is the last, with what of it is there.
void ReadChain(ByteView data, uint32_t at, std::span<const ChainForm> forms, Cache& cache) {
  constexpr uint32_t kHead = 12;  // magic, check, length
  while (at + kHead <= data.size()) {
    const uint32_t magic = ReadU32(data, at);
    const uint32_t length = ReadU32(data, at + 8);
    if (magic != kEntry8 && magic != kEntry81) break;
    CacheEntry entry;
    entry.bytes = PartOf(
        data, at,
        static_cast<uint32_t>(std::min<uint64_t>(uint64_t{kHead} + length, data.size() - at)));
    const bool whole = length <= data.size() - at - kHead;
    const ByteView body = entry.bytes.subspan(kHead);
    const bool read = std::ranges::any_of(
        forms, [&](const ChainForm& form) { return ReadChained(body, form, entry); });
    if (!read) {
      entry.path = PathText(PartOf(body, 2, ReadU16(body, 0)));
      entry.note = whole ? "the entry's parts don't take its length" : "the entry is cut off";
    }
    cache.entries.push_back(std::move(entry));
    if (!whole) return;
    at += kHead + length;
  }
  if (at < data.size()) {
    cache.note = Concat({std::to_string(data.size() - at), " bytes after the last entry"});
  }
}

void ReadEight(ByteView data, Cache& cache) {
  const bool first = ReadU32(data, kEight) == kEntry8;
  cache.form = first ? "8" : "8.1";
  // Of "00ts" the form without a package is tried first, of "10ts" that with one; a form counts
  // only when its parts take the entry's whole length.
  constexpr ChainForm kForms[] = {{true, true}, {false, true}, {true, true}};
  ReadChain(data, kEight, std::span(kForms).subspan(first ? 1 : 0, 2), cache);
}

void ReadTen(ByteView data, uint32_t header, Cache& cache) {
  constexpr ChainForm kForms[] = {{false, false}};
  cache.form = "10";
  ReadChain(data, header, kForms, cache);
}

// False for data that begin as no known form does.
bool ReadCache(ByteView data, Cache& cache) {
  const uint32_t first = ReadU32(data, 0);
  if (first == kXp) {
    ReadXp(data, cache);
  } else if (first == kVista) {
    ReadVista(data, cache);
  } else if (first == kSeven) {
    ReadSeven(data, cache);
  } else if (first == kEight && data.size() > kEight) {
    ReadEight(data, cache);
  } else if (first == kTen || first == kTenLater) {
    ReadTen(data, first, cache);
  } else {
    return false;
  }
  return true;
}

void AddCache(EvidenceRun& run, EvidenceKey key, const EvidenceValue& value,
              const std::string& control_set) {
  Cache cache;
  EvidenceRow why;
  // The row of a cache as a whole, without the cells of an entry.
  why.Empty(7);
  if (!HasData(value, 8, why) || !ReadCache(value.data, cache)) {
    why.Empty().Text(control_set).Note("no known form of this cache");
    AddEvidence(run, std::move(why), key, &value);
    return;
  }
  uint64_t number = 0;
  for (const CacheEntry& entry : cache.entries) {
    EvidenceRow row;
    row.Number(++number).Text(entry.path).Time(entry.modified);
    row.Text(!entry.run ? "" : *entry.run ? "yes" : "no");
    row.Number(entry.size)
        .Time(entry.updated)
        .Text(entry.package)
        .Text(cache.form)
        .Text(control_set);
    row.Note(entry.note);
    AddEvidence(run, std::move(row), key, &value, entry.bytes);
  }
  if (cache.note.empty()) return;
  why.Text(cache.form).Text(control_set).Note(cache.note);
  AddEvidence(run, std::move(why), key, &value, {});
}

}  // namespace

void DecodeShimCache(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) {
    for (const EvidenceValue& value : run.keys.ValuesOf(place.key)) {
      if (!EqualIgnoringCase(value.name, "AppCompatCache")) continue;
      AddCache(run, place.key, value, place.control_set);
    }
  }
}

void DecodeLooseShimCache(EvidenceRun& run, std::span<const EvidenceValue> values) {
  for (const EvidenceValue& value : values) {
    Cache cache;
    const bool cached = EqualIgnoringCase(value.name, "AppCompatCache") && value.data.size() > 8;
    if (cached && ReadCache(value.data, cache)) AddCache(run, kNoEvidenceKey, value, {});
  }
}

}  // namespace hivequarry
