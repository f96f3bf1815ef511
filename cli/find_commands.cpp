// Search, keys by date, security records and special reports on the console.
#include <optional>

#include "cli/opened_hive.h"
#include "cli/print_list.h"
#include "evidence/decoders.h"
#include "hive/file_place.h"
#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "host/host.h"
#include "reports/freed_find.h"
#include "reports/key_dates.h"
#include "reports/search.h"
#include "reports/structure_reports.h"
#include "security/security_lists.h"
#include "security/sid.h"

namespace hivequarry {
namespace {

// Words of the access rights that "--permissions" takes beside a number.
struct RightsWord {
  const char* word;
  uint32_t rights;
};
// The numbers are the registry's own access rights.
constexpr RightsWord kRightsWords[] = {
    {"full", kFullControl},  {"read", kReadRights},     {"write", kWriteRights},
    {"query-value", 0x01},   {"set-value", 0x02},       {"create-subkey", 0x04},
    {"enumerate", 0x08},     {"notify", 0x10},          {"create-link", 0x20},
    {"delete", 0x10000},     {"read-control", 0x20000}, {"write-dac", 0x40000},
    {"write-owner", 0x80000}};

// A word or a number of rights; nothing for neither.
std::optional<uint32_t> RightsOfWord(std::string_view word) {
  for (const RightsWord& known : kRightsWords) {
    if (EqualIgnoringCase(word, known.word)) return known.rights;
  }
  uint32_t rights = 0;
  if (ParsePosition(word, rights)) return rights;
  return std::nullopt;
}

// "read,set-value" or "0x20019": all of them. False after a message.
bool ParseRights(std::string_view text, uint32_t& rights) {
  rights = 0;
  while (!text.empty()) {
    const std::string_view word = text.substr(0, text.find(','));
    text.remove_prefix(std::min(word.size() + 1, text.size()));
    const std::optional<uint32_t> known = RightsOfWord(word);
    if (!known) {
      Complain("No right " + std::string(word));
      return false;
    }
    rights |= *known;
  }
  return true;
}

// `missing` for an empty text; false after a message.
bool ParseKeyDate(const std::string& text, KeyDateTime missing, KeyDateTime& time) {
  time = missing;
  if (text.empty() || ReadKeyDate(text, time)) return true;
  Complain("No date " + text);
  return false;
}

bool ParseRange(const DatesRequest& dates, KeyDateRange& range) {
  range.limited = !dates.from.empty() || !dates.to.empty();
  return ParseKeyDate(dates.from, KeyDateTime(), range.start) &&
         ParseKeyDate(dates.to, {0xFFFF, 12, 31, 23, 59, 59}, range.end);
}

// The last second whole.
bool ReadTimes(const DatesRequest& dates, SearchLimits& limits) {
  KeyDateRange range;
  if (!ParseRange(dates, range)) return false;
  if (!dates.from.empty()) limits.from = FileTimeOf(range.start);
  if (!dates.to.empty()) limits.to = FileTimeOf(range.end) + kFileTimeSecond - 1;
  return true;
}

SecurityListOptions OptionsOf(const ConsoleRequest& request) {
  SecurityListOptions options;
  options.resolve = request.security.resolve;
  return options;
}

bool IsSid(const std::string& text) {
  if (!SidOfText(text).empty()) return true;
  Complain("Please specify a valid SID !");
  return false;
}

// Nothing that is asked may go unheard. --ace beside --permissions is whose rights are meant.
bool IsOneQuestion(const SecurityRequest& request) {
  const bool rights = !request.permissions.empty();
  const int asked =
      !request.record.empty() + !request.owner.empty() + (rights || !request.ace.empty());
  if (asked > 1) {
    Complain("--record, --owner and --ace or --permissions can't be asked together");
    return false;
  }
  const bool two = !request.ace.empty() && !request.sid.empty() && request.ace != request.sid;
  if (two) Complain("--ace and --sid name two accounts");
  const bool loose = !rights && !request.sid.empty();
  if (loose) Complain("--sid needs --permissions");
  return !two && !loose;
}

// The question that the request's options ask; a record's when there are none. False after a
// message.
bool QueryOf(const SecurityRequest& request, SecurityQuery& query) {
  if (!IsOneQuestion(request)) return false;
  if (!request.permissions.empty()) {
    query.mode = SecurityMode::kPermissions;
    query.permissions.sid = request.sid.empty() ? request.ace : request.sid;
    query.permissions.kind = request.kind;
    query.permissions.not_inherited = request.not_inherited;
    return (query.permissions.sid.empty() || IsSid(query.permissions.sid)) &&
           ParseRights(request.permissions, query.permissions.rights);
  }
  if (!request.owner.empty() || !request.ace.empty()) {
    const bool owner = !request.owner.empty();
    query.mode = owner ? SecurityMode::kOwner : SecurityMode::kAce;
    query.sid = owner ? request.owner : request.ace;
    return IsSid(query.sid);
  }
  if (ParsePosition(request.record, query.record)) return true;
  Complain("One of --record, --owner, --ace and --permissions is needed");
  return false;
}

// A list over the branch that the request names; `fill` gets its item.
template <typename Fill>
int PrintBranch(const ConsoleRequest& request, OpenedHive& opened, int kind, const Fill& fill) {
  uint32_t item = 0;
  if (!FindKey(request, opened, item)) return kExitFailed;
  const OutputListPtr list = MakeOutputList(kind);
  fill(item, *list);
  return Print(request, *list);
}

using SecurityWalk = void (*)(const HiveImage&, const KeyTree&, uint32_t,
                              const SecurityListOptions&, OutputList&);
int PrintSecurityBranch(const ConsoleRequest& request, OpenedHive& opened, int kind,
                        SecurityWalk walk) {
  return PrintBranch(request, opened, kind, [&](uint32_t item, OutputList& list) {
    walk(*opened.hive, opened.tree, item, OptionsOf(request), list);
  });
}

// The position of the record of the request's key; kNoOffset for a key without one.
uint32_t RecordOf(const OpenedHive& opened, uint32_t item) {
  if (!HasKeyCell(opened.tree, item)) return kNoOffset;
  return SecurityOfKey(*opened.hive, opened.tree.items[item].position);
}

// False after a message. A number that is not searched for as one would find other bytes.
bool PatternOf(const SearchSettings& settings, SearchPattern& pattern) {
  const HexFault fault = settings.hex_mode ? HexPatternOf(settings.hex).fault : HexFault::kNone;
  if (fault != HexFault::kNone) {
    Complain(HexFaultText(fault));
  } else if (!IsText(settings.text)) {
    Complain("The pattern is no UTF-8 text");
  } else if (!CompilePattern(settings, pattern)) {
    Complain(pattern.fault.empty() ? "Nothing to search for" : pattern.fault);
  } else if (settings.dword && !pattern.settings.dword) {
    Complain("--dword needs --hex and 8 digits");
  } else {
    return true;
  }
  return false;
}

}  // namespace

// Columns are added before the first row: rows have the cells of the columns that are there.
int SearchCommand(const ConsoleRequest& request, OpenedHive& opened) {
  uint32_t item = 0;
  SearchPattern pattern;
  SearchSettings settings = request.search;
  if (!ReadTimes(request.dates, settings.limits) || !PatternOf(settings, pattern)) {
    return kExitUsage;
  }
  if (!FindKey(request, opened, item)) return kExitFailed;
  const OutputListPtr list = MakeSearchList(request.search_details);
  if (request.freed) AddPlaceColumn(*list);
  if (opened.hive->stack != nullptr) AddColumns(*list, {kLayerTitle});
  if (!SearchBranch(*opened.hive, opened.tree, item, pattern, *list)) {
    Complain("Keys nested too deep were not examined");
  }
  if (request.freed) {
    FreedSource from(*opened.hive, opened.tree);
    SearchFreed(from, item, pattern, *list);
  }
  return Print(request, *list);
}

int DatesCommand(const ConsoleRequest& request, OpenedHive& opened) {
  KeyDateRange range;
  if (!ParseRange(request.dates, range)) return kExitUsage;
  if (request.keys.by_access) range.access = request.keys.access;
  return PrintBranch(request, opened, kListKeyDates, [&](uint32_t item, OutputList& list) {
    if (request.freed) AddPlaceColumn(list);
    if (opened.hive->stack != nullptr) AddColumns(list, {kLayerTitle});
    ListKeyDates(*opened.hive, opened.tree, item, range, list);
    if (!request.freed) return;
    FreedSource from(*opened.hive, opened.tree);
    ListFreedDates(from, item, range, list);
  });
}

int SecurityRecordsCommand(const ConsoleRequest& request, OpenedHive& opened) {
  const OutputListPtr list = MakeOutputList(kListSecurityScan);
  ScanSecurityCells(*opened.hive, OptionsOf(request), *list);
  return Print(request, *list);
}

int SecurityAcesCommand(const ConsoleRequest& request, OpenedHive& opened) {
  const OutputListPtr list = MakeAceList(false);
  ListAces(*opened.hive, OptionsOf(request), *list);
  return Print(request, *list);
}

int SecurityUsedCommand(const ConsoleRequest& request, OpenedHive& opened) {
  return PrintSecurityBranch(request, opened, kListUsedRecords, ListUsedRecords);
}

int SecurityOwnersCommand(const ConsoleRequest& request, OpenedHive& opened) {
  return PrintSecurityBranch(request, opened, kListKeyOwners, ListKeyOwners);
}

int SecurityLinksCommand(const ConsoleRequest& request, OpenedHive& opened) {
  return PrintSecurityBranch(request, opened, kListRecordKeys, ListRecordKeys);
}

int SecurityKeysCommand(const ConsoleRequest& request, OpenedHive& opened) {
  SecurityQuery query;
  if (!QueryOf(request.security, query)) return kExitUsage;
  if (query.mode == SecurityMode::kRecord) {
    // As it is typed it counts from the start of the hive in the file.
    query.record = PositionOfPlace(*opened.hive, query.record);
  }
  return PrintBranch(request, opened, kListSecurityKeys, [&](uint32_t item, OutputList& list) {
    SetListTitle(list, TitleOfQuery(*opened.hive, query));
    FindKeysBySecurity(*opened.hive, opened.tree, item, query, OptionsOf(request), list);
  });
}

int SecurityWritersCommand(const ConsoleRequest& request, OpenedHive& opened) {
  AccessQuery query{.sid = request.security.sid, .rights = kChangeRights};
  if (!query.sid.empty() && !IsSid(query.sid)) return kExitUsage;
  const std::string& rights = request.security.permissions;
  if (!rights.empty() && !ParseRights(rights, query.rights)) return kExitUsage;
  return PrintBranch(request, opened, kListWhoMayWrite, [&](uint32_t item, OutputList& list) {
    SetListTitle(list, TitleOfAccess(query));
    ListWhoMay(*opened.hive, opened.tree, item, query, OptionsOf(request), list);
  });
}

int SecurityShowCommand(const ConsoleRequest& request, OpenedHive& opened) {
  uint32_t item = 0;
  if (!FindKey(request, opened, item)) return kExitFailed;
  const HiveImage& hive = *opened.hive;
  const uint32_t record = RecordOf(opened, item);
  SecurityRecordInfo info;
  if (record == kNoOffset || !ReadSecurityRecord(ImageBytes(hive), record, info)) {
    Complain(InvalidRecordText(hive, record));
    return kExitFailed;
  }
  const std::string text =
      FormatSecurityRecord(ImageBytes(hive), info, PlaceOf(hive, record), request.security.resolve);
  return PrintText(text, request.printing) ? kExitDone : kExitFailed;
}

int ReportCommand(const ConsoleRequest& request, OpenedHive& opened) {
  const DecoderInfo* decoder = FindDecoder(request.report);
  if (decoder != nullptr) {
    return PrintBranch(request, opened, decoder->kind, [&](uint32_t item, OutputList& list) {
      if (!RunDecoder(*decoder, *opened.hive, opened.tree, item, list)) Complain(kNoEvidence);
    });
  }
  const ReportInfo* report = FindReport(request.report);
  // Decoders and reports share one name space: names of both are arguments of "report".
  if (report == nullptr) return kExitUsage;
  return PrintBranch(request, opened, report->kind, [&](uint32_t item, OutputList& list) {
    // Some reports begin at a named key though it is no part of their structure.
    const bool named = !request.key.empty();
    if (!RunReportOnHive(report->report, *opened.hive, opened.tree, item, named, list)) {
      Complain(kNothingToReport);
    }
  });
}

}  // namespace hivequarry
