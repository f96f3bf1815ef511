// The table of kinds. A new kind is its columns and a row here; columns that several kinds have are
// in kind_columns.h.
#include "lists/list_kinds.h"

#include <algorithm>

#include "lists/decoder_kinds.h"
#include "lists/kind_columns.h"

namespace hivequarry {
namespace {

using namespace kind_columns;

// --- results in a hive and in the registry -------------------------------------------------------

constexpr KindColumn kRoots[] = {kRoot, kRoot, kRoot, kRoot, kRoot, kRoot, kRoot, kRoot, kRoot,
                                 kRoot, kRoot, kRoot, kRoot, kRoot, kRoot, kRoot, kRoot, kRoot};
// What was found is told by its path.
constexpr KindColumn kFoundData = Wide(kData, 7, 3);
constexpr KindColumn kSearch[] = {kKey, kValue, kFoundData, kType, kKeyOffset};
constexpr KindColumn kLiveSearch[] = {kKey, kValue, kFoundData, kType, kKeyDate};
constexpr KindColumn kCompare[] = {
    kKey, kValue, Wide(kFile, 7, 3), Wide(kRegistry, 7, 3), kKeyOffset, kValueOffset};
constexpr KindColumn kKeyDates[] = {kKeyDate, kKey, kKeyOffset};
constexpr KindColumn kClassNames[] = {kKey, Count("Length", 2), Text("Classname", 7, 3)};
constexpr KindColumn kValueErrors[] = {kKey, kValue, kError};
constexpr KindColumn kDatedValues[] = {kKeyDate, kKey, kValue};
constexpr KindColumn kValueData[] = {kKey, kValue, kType, Count("Data length", 3), kData};
constexpr KindColumn kOwners[] = {kKey, Text("Owner name", 6), kOwnerDomain};
constexpr KindColumn kTypedValues[] = {kKey, kValue, kData, kType};
constexpr KindColumn kRootKeys[] = {kRoot, Text("Valid Root", 4), kKey, Text("KeyName", 5),
                                    kKeyDate};
constexpr KindColumn kFileStatus[] = {kStatus, kFile};
constexpr KindColumn kKeys[] = {kKey};
// Sizes are shown as positions are, and sort by the number that such a text begins with.
constexpr KindColumn Size(int thirds) {
  return Held(Text("Size", thirds), CellHolds::kPosition, SortMode::kNumber);
}
constexpr KindColumn kPieces[] = {Position("Start Offset", 6, 1), Position("End Offset", 6, 1),
                                  Size(6), kFile};
constexpr KindColumn kRepair[] = {kKey, kValue, Text("What", 6, 1), Position("Offset", 5)};
constexpr KindColumn kCarved[] = {Text("What", 4),      Position("Offset", 6),
                                  Number("Length", 4),  Held(kRoot, CellHolds::kName),
                                  Number("Keys", 3),    Text("How sure", 3),
                                  Text("Why", 9, 3),    Text("Stored Name", 6, 1),
                                  Date("Last Written"), kFile};
constexpr KindColumn kErrors[] = {kRoot, kKey, kValue, kError};

// --- special reports -----------------------------------------------------------------------------

constexpr KindColumn kProgIds[] = {kKey, kValue, kData, kType, Date("Key date ProgID")};
// Entries that only the end of their path tells apart.
constexpr KindColumn kKeyFiles[] = {
    Wide(kKey, 11, 4), kValue, kData, Wide(kFileOrFolder, 9, 3), kType, kKeyDate, kControlSet};
constexpr KindColumn kFiles[] = {
    Wide(kFileOrFolder, 10, 3), kKey, kValue, kData, kType, kKeyDate, kControlSet};
// The live registry shows one control set.
constexpr std::span kLiveKeyFiles = std::span(kKeyFiles).first<6>();
constexpr std::span kLiveFiles = std::span(kFiles).first<6>();
constexpr KindColumn kClasses[] = {Wide(kKey, 8, 6), Text("CLSID Name", 5, 1),
                                   Text("InprocServer32", 6, 5), Text("InprocServer", 4, 1),
                                   kKeyDate};
constexpr KindColumn kUninstall[] = {kKeyDate, Wide(kKey, 16, 4), kDisplayName,
                                     Text("Uninstall String", 8, 5)};
constexpr KindColumn kOpenWith[] = {kKey, Text("Open with", 9, 5), kKeyDate};
constexpr KindColumn kExtracted = Date("Date extracted");
constexpr KindColumn kCountKeys[] = {kKey,       kValue, kRot13Value, kData,     kExtracted,
                                     kKeyOffset, kRuns,  kFocusCount, kFocusTime};
constexpr KindColumn kLiveCountKeys[] = {kKey,     kValue, kRot13Value, kData,     kExtracted,
                                         kKeyDate, kRuns,  kFocusCount, kFocusTime};
constexpr KindColumn kServices[] = {
    Wide(kKey, 8, 6),         Text("Start", 3),   Wide(kDisplayName, 5, 2),
    Text("Imagepath", 5, 5),  Wide(kGroup, 3, 0), kType,
    Wide(kDescription, 3, 1), kKeyDate,           kControlSet};
constexpr KindColumn kOpenSaveMru[] = {kFile, kType, kKey, kValue, kKeyDate, kKeyOffset};
constexpr KindColumn kStreamMru[] = {Text("Path stored in Data", 8, 6),
                                     kValue,
                                     Date("Modified"),
                                     Date("Created"),
                                     Date("Accessed"),
                                     Date("Date of associated Stream Key"),
                                     Count("Size", 3),
                                     Text("Dos Name", 3),
                                     kKey,
                                     kValueOffset,
                                     kKeyOffset};

// --- security ------------------------------------------------------------------------------------

constexpr KindColumn kSecurityScan[] = {kSecurityRecord,         Count("ACE count", 3),
                                        Wide(kOwnerSid, 6, 1),   kOwnerAccount,
                                        Text("Group Sid", 6, 1), Text("Group Account", 4, 1),
                                        Position("Next", 3),     Position("Previous", 3)};
constexpr KindColumn kKeyOwners[] = {kKey, Wide(kOwnerSid, 9, 1), Wide(kOwnerAccount, 7, 2),
                                     kOwnerDomain, kKeyDate};
constexpr KindColumn kSecurityKeys[] = {Wide(kKey, 8, 6), kOwnerSid,  kOwnerAccount,
                                        kKeyDate,         kKeyOffset, kSecurityRecord};
constexpr KindColumn kSecurityRecords[] = {kSecurityRecord, Count("Keys", 2), Count("ACEs", 2),
                                           kOwnerSid, kOwnerAccount};
constexpr KindColumn kRecordKeys[] = {kKey, kKeyDate, kKeyOffset, kSecurityRecord};
constexpr KindColumn kAces[] = {Position("ACE", 5),
                                Wide(kType, 2, 0),
                                Wide(kFlags, 8, 0),
                                Text("Permissions", 8, 5),
                                Held(kSid, CellHolds::kTrustee),
                                kAccount};
constexpr KindColumn kWhoMayWrite[] = {Wide(kKey, 8, 6), Held(kSid, CellHolds::kTrustee),
                                       kAccount,         Text("Rights", 8, 5),
                                       Text("By", 3, 1), kOwnerSid,
                                       kOwnerAccount,    kKeyDate,
                                       kKeyOffset,       kSecurityRecord};
constexpr KindColumn kLocalGroups[] = {Text("Identifier", 4), kSid, Text("Name", 9, 5),
                                       Text("Domain", 6), Text("Kind", 2, 1)};

// --- the console program's own -------------------------------------------------------------------

constexpr KindColumn InfoText(const char* title) { return Text(title, 2, 1); }
constexpr KindColumn InfoNumber(const char* title) { return Number(title, 2, 1); }
constexpr KindColumn InfoFlag(const char* title) { return Held(InfoText(title), CellHolds::kFlag); }
constexpr KindColumn kInfo[] = {InfoText("file"),
                                InfoNumber("length"),
                                InfoNumber("base_offset"),
                                InfoFlag("header_valid"),
                                InfoFlag("root_valid"),
                                InfoNumber("data_area_base"),
                                InfoNumber("root_position"),
                                InfoText("root_path"),
                                InfoNumber("list_style"),
                                InfoNumber("keys"),
                                InfoNumber("connected_keys"),
                                InfoNumber("disconnected_keys"),
                                InfoNumber("values"),
                                InfoNumber("disconnected_values"),
                                InfoNumber("security_records"),
                                InfoNumber("bins"),
                                InfoNumber("virtual_parents"),
                                InfoNumber("virtual_children"),
                                InfoNumber("virtual_siblings"),
                                InfoNumber("freed_keys"),
                                InfoNumber("freed_values"),
                                InfoNumber("unread_bytes"),
                                InfoText("unread_ranges"),
                                InfoNumber("missing_bytes"),
                                InfoFlag("root_made"),
                                InfoNumber("cut_at"),
                                InfoText("cut_reason"),
                                InfoText("cut_rest"),
                                InfoText("moved"),
                                InfoFlag("dirty"),
                                InfoText("dirty_why"),
                                InfoFlag("checksum_valid"),
                                InfoText("sequence"),
                                InfoText("last_written"),
                                InfoText("version"),
                                InfoText("flags"),
                                InfoText("stored_name"),
                                InfoText("reorganised"),
                                InfoText("replay"),
                                InfoText("logs"),
                                InfoText("structure"),
                                InfoText("sha256"),
                                InfoText("logs_sha256"),
                                InfoText("layered"),
                                InfoNumber("tombstone_keys"),
                                InfoNumber("tombstone_values"),
                                InfoNumber("superseding_keys"),
                                InfoText("hive_kind"),
                                InfoText("root_from"),
                                InfoText("root_evidence"),
                                InfoText("root_contradiction")};
constexpr KindColumn kTree[] = {kKey,    kKeyOffset,         kParentOffset,         kKeyDate,
                                kStatus, Number("Marks", 2), Number("Connected", 4)};
constexpr KindColumn kWholePath = Wide(kKey, 12, 4);
constexpr KindColumn kValues[] = {kWholePath,   kValue,     kType,  kData,
                                  kValueOffset, kKeyOffset, kStatus};
constexpr KindColumn kDetail[] = {kField, Text("Text", 8, 5)};
constexpr KindColumn kBins[] = {Text("Block", 2, 1), Position("Position", 4), Size(3),
                                Text("Copy", 2, 1), Position("Own Offset", 4)};
constexpr KindColumn kRawRecord[] = {
    Position("Position", 4), Number("Size", 3),     kField,
    Text("Bytes", 7, 2),     Text("Meaning", 8, 5), Position("Leads to", 5)};
constexpr KindColumn kEdits[] = {
    kKey, kValue, kType, kData, Type("Type in file"), Text("Data in file", 7, 2), kValueOffset};
constexpr KindColumn kFreedKeys[] = {kKey,     kKeyOffset,          kParentOffset,
                                     kKeyDate, Number("Values", 3), Number("Values found", 4),
                                     kPlace};
constexpr KindColumn kFreedValues[] = {kWholePath,   kValue,     kType, kData,
                                       kValueOffset, kKeyOffset, kPlace};
constexpr KindColumn kLogColumn = Text("Log", 5, 1);
constexpr KindColumn kLogPosition = Position("Log Position", 5);
constexpr KindColumn kLogs[] = {kLogColumn,         Number("Entry", 3), Number("Pages", 2),
                                Number("Bytes", 3), kLogPosition,       Number("Bins", 3),
                                Wide(kStatus, 8, 4)};
constexpr KindColumn kLogChanges[] = {
    kLogColumn, Text("Entry", 3), Text("Change", 4),       kKey,
    kValue,     kKeyDate,         Position("Position", 5), kLogPosition};
constexpr KindColumn kLogRecords[] = {
    Text("Record", 2),       kKey,       kValue,           kType,        kData,  kKeyDate,
    Position("Position", 5), kLogColumn, Text("Entry", 3), kLogPosition, kStatus};

constexpr KindColumn kHiveCompare[] = {Text("What", 4, 0),
                                       kKey,
                                       kValue,
                                       Type("Type A"),
                                       Text("Data A", 6, 3),
                                       Type("Type B"),
                                       Text("Data B", 6, 3),
                                       Text("Time A", 6, 0),
                                       Text("Time B", 6, 0),
                                       Position("Offset A", 4),
                                       Position("Offset B", 4)};
constexpr KindColumn kCheck[] = {
    Text("Code", 2, 0), Text("Level", 2, 0), Position("Position", 4), kKey,
    Text("Text", 8, 3), Text("Found", 5, 2), Text("Expected", 5, 1)};
constexpr KindColumn kTimeline[] = {
    Date("Time"),         Text("Event", 4),     Wide(kKey, 10, 4),    kValue,
    Text("Detail", 6, 1), Text(kStateTitle, 3), Position("Offset", 5)};
constexpr KindColumn kMachine[] = {Text("Fact", 5),
                                   Text("Text", 8, 5),
                                   Text("Note", 5, 2),
                                   kFile,
                                   kKey,
                                   kValue,
                                   Position("Offset", 5),
                                   kKeyDate};

// --- the table -----------------------------------------------------------------------------------

using KindColumns = std::span<const KindColumn>;
constexpr const char* kOther = "Output List";

constexpr ListKindInfo OfReport(int kind, KindColumns columns, const char* title = kOther) {
  return {kind, title, columns, WindowFamily::kReports, ListHelp::kReports};
}
constexpr ListKindInfo About(ListKindInfo info, ListAbout about) {
  info.about = about;
  return info;
}
constexpr ListKindInfo OfSecurity(int kind, KindColumns columns, RowLeads leads,
                                  const char* title = kOther) {
  return {kind,
          title,
          columns,
          WindowFamily::kSecurity,
          ListHelp::kSecurity,
          leads,
          ListAbout::kSecurity};
}
constexpr ListKindInfo OfFreed(int kind, KindColumns columns, const char* title) {
  return {kind,
          title,
          columns,
          WindowFamily::kOther,
          ListHelp::kFreed,
          RowLeads::kItem,
          ListAbout::kKeys};
}

constexpr ListKindInfo OfEvidence(int kind, KindColumns columns, const char* title) {
  return {kind,
          title,
          columns,
          WindowFamily::kReports,
          ListHelp::kReports,
          RowLeads::kItem,
          ListAbout::kKeys};
}

// Kinds that are numbers here are those of Report Lists alone: nothing fills them.
constexpr ListKindInfo kKinds[] = {
    {4, kOther, kRoots},
    {kListSearch, "Search results", kSearch, WindowFamily::kSearch, ListHelp::kSearch,
     RowLeads::kItem, ListAbout::kKeys},
    {kListLiveSearch, "Registry Search results", kLiveSearch, WindowFamily::kLiveSearch,
     ListHelp::kSearch},
    {kListCompare, "Compare results", kCompare, WindowFamily::kCompare, ListHelp::kCompare,
     RowLeads::kItem, ListAbout::kKeys | ListAbout::kCompared},
    {kListKeyDates, "Key Dates", kKeyDates, WindowFamily::kKeyDates, ListHelp::kKeyDates,
     RowLeads::kItem, ListAbout::kKeys},
    {14, kOther, kClassNames},
    {kListValueErrors, kOther, kValueErrors, WindowFamily::kErrors},
    {17, kOther, kDatedValues},
    {20, kOther, kValueData},
    {22, kOther, kOwners},
    About(OfReport(kListProgIds, kProgIds), ListAbout::kClasses),
    OfReport(kListKeyFiles, kKeyFiles),
    OfReport(kListLiveKeyFiles, kLiveKeyFiles),
    About(OfReport(kListClasses, kClasses), ListAbout::kClasses),
    OfReport(kListUninstall, kUninstall),
    OfReport(kListLiveUninstall, kUninstall),
    OfReport(kListFiles, kFiles),
    OfReport(kListLiveFiles, kLiveFiles),
    OfReport(kListOpenWith, kOpenWith),
    OfReport(36, kTypedValues),
    {kListRootKeys, kOther, kRootKeys, WindowFamily::kPieces, ListHelp::kOutputLists,
     RowLeads::kItem, ListAbout::kRoots},
    OfSecurity(kListSecurityScan, kSecurityScan, RowLeads::kSecurityRecord),
    OfReport(kListCountKeys, kCountKeys, "Count Keys"),
    OfReport(kListLiveCountKeys, kLiveCountKeys, "Registry Current User Count Keys"),
    OfReport(kListServices, kServices),
    OfSecurity(kListKeyOwners, kKeyOwners, RowLeads::kItem),
    // The command that fills it sets the title when it asked for something else.
    OfSecurity(kListSecurityKeys, kSecurityKeys, RowLeads::kItem, "Keys with Permissions"),
    OfSecurity(kListUsedRecords, kSecurityRecords, RowLeads::kSecurityRecord, "Security Records"),
    OfSecurity(kListRecordKeys, kRecordKeys, RowLeads::kItem),
    OfSecurity(kListWhoMayWrite, kWhoMayWrite, RowLeads::kItem, "Who may write where"),
    OfSecurity(kListAces, kAces, RowLeads::kSecurityRecord, "ACE List"),
    {50, kOther, kFileStatus},
    {51, kOther, kKeys},
    {kListPieces, kOther, kPieces, WindowFamily::kPieces, ListHelp::kOutputLists, RowLeads::kItem,
     ListAbout::kPieces},
    OfReport(kListOpenSaveMru, kOpenSaveMru, "OpenSaveMRU"),
    OfReport(kListStreamMru, kStreamMru, "StreamMRU"),
    {kListErrors, "Error list", kErrors, WindowFamily::kErrors},
    {kListInfo, "Hive information", kInfo},
    {kListTree, "Key tree", kTree},
    {kListValues, "Values", kValues},
    {kListDetail, "Detail", kDetail},
    {kListBins, "Block list", kBins, WindowFamily::kBlocks, ListHelp::kMainWindow},
    {kListRawRecord, "Raw record", kRawRecord, WindowFamily::kOther, ListHelp::kOutputLists,
     RowLeads::kField, ListAbout::kRecord},
    {kListEdits, "Edited values", kEdits},
    {kListLocalGroups, "Local groups", kLocalGroups},
    OfFreed(kListFreedKeys, kFreedKeys, "Freed Keys"),
    OfFreed(kListFreedValues, kFreedValues, "Freed Values"),
    {kListLogs, "Log entries", kLogs, WindowFamily::kOther, ListHelp::kOutputLists, RowLeads::kItem,
     ListAbout::kLogs},
    {kListLogChanges, "Changes by log entries", kLogChanges, WindowFamily::kOther,
     ListHelp::kOutputLists, RowLeads::kItem, ListAbout::kLogs},
    {kListLogRecords, "Records in pages of logs", kLogRecords},
    {kListHiveCompare, "Compared hives", kHiveCompare, WindowFamily::kCompare},
    {kListCheck, "Structure", kCheck, WindowFamily::kOther, ListHelp::kCheck, RowLeads::kItem,
     ListAbout::kFaults},
    {kListTimeline, "Timeline", kTimeline, WindowFamily::kKeyDates, ListHelp::kTimeline,
     RowLeads::kItem, ListAbout::kKeys},
    {kListRepair, "Left out or changed by a repair", kRepair},
    OfReport(kListMachine, kMachine, "Machine"),
    {kListCarved, "Carved", kCarved, WindowFamily::kPieces},
    OfEvidence(kListUserAssist, decoder_kinds::kUserAssist, "UserAssist"),
    OfEvidence(kListShimCache, decoder_kinds::kShimCache, "ShimCache"),
    OfEvidence(kListActivity, decoder_kinds::kActivity, "Activity moderators"),
    OfEvidence(kListAmCache, decoder_kinds::kAmCache, "AmCache"),
    OfEvidence(kListMuiCache, decoder_kinds::kMuiCache, "MUICache"),
    OfEvidence(kListAppSettings, decoder_kinds::kAppSettings, "App settings"),
    OfEvidence(kListShellBags, decoder_kinds::kShellBags, "Shell bags"),
    OfEvidence(kListDialogFiles, decoder_kinds::kDialogFiles, "Files of dialogs"),
    OfEvidence(kListRecentDocs, decoder_kinds::kRecentDocs, "Recent documents"),
    OfEvidence(kListTypedTexts, decoder_kinds::kTypedTexts, "Typed texts"),
    OfEvidence(kListUsbDevices, decoder_kinds::kUsbDevices, "USB devices"),
    OfEvidence(kListVolumes, decoder_kinds::kVolumes, "Volumes"),
    OfEvidence(kListAutostart, decoder_kinds::kAutostart, "Autostart"),
    OfEvidence(kListNetworks, decoder_kinds::kNetworks, "Networks"),
    OfEvidence(kListInterfaces, decoder_kinds::kInterfaces, "Network interfaces"),
    OfEvidence(kListAccounts, decoder_kinds::kAccounts, "Accounts"),
    OfEvidence(kListGroups, decoder_kinds::kGroups, "Groups"),
    OfEvidence(kListServiceFiles, decoder_kinds::kServiceFiles, "Files of services"),
    OfEvidence(kListSystemFacts, decoder_kinds::kSystemFacts, "System"),
    OfEvidence(kListProfiles, decoder_kinds::kProfiles, "Profiles"),
    OfEvidence(kListTasks, decoder_kinds::kTasks, "Tasks"),
    OfEvidence(kListPolicies, decoder_kinds::kPolicies, "Policies"),
};

constexpr bool NumbersDiffer() {
  for (const ListKindInfo& info : kKinds) {
    if (std::ranges::count(kKinds, info.kind, &ListKindInfo::kind) != 1) return false;
  }
  return true;
}
static_assert(NumbersDiffer(), "two kinds have one number");

constexpr bool ColumnsFit() {
  return std::ranges::all_of(kKinds, [](const ListKindInfo& info) {
    const auto most = static_cast<size_t>(info.kind < kFirstOwnKind ? kMaxColumns : kMaxOwnColumns);
    return !info.columns.empty() && info.columns.size() <= most;
  });
}
static_assert(ColumnsFit(), "a kind has no columns, or more than a list of it may have");

// Columns that sort by a value are those that hold one.
constexpr bool SortsFit() {
  return std::ranges::all_of(kKinds, [](const ListKindInfo& info) {
    return std::ranges::all_of(info.columns, [](const KindColumn& column) {
      const bool date = column.holds == CellHolds::kDate;
      return date == (column.sort == SortMode::kDate);
    });
  });
}
static_assert(SortsFit(), "a column of dates sorts otherwise, or another column as dates");

constexpr KindColumn kFurther[] = {
    Position(kFileOffsetTitle, 4), Text(kDetailsTitle, 5, 1), kPlace,
    Text(kStateTitle, 4),          Number(kAccessTitle, 2),   Text(kRemovedByTitle, 5, 1),
    Text(kLinkTitle, 6, 1),        Text(kLayerTitle, 5, 1)};
constexpr KindColumn kUnknownColumn = {""};
constexpr ListKindInfo kUnknownKind = {0, kOther, {}};

}  // namespace

std::span<const ListKindInfo> AllListKinds() { return kKinds; }

const ListKindInfo& FindListKind(int kind) {
  const auto* found = std::ranges::find(kKinds, kind, &ListKindInfo::kind);
  return found == std::end(kKinds) ? kUnknownKind : *found;
}

bool IsListAbout(ListAbout about, int kind) {
  const auto set = static_cast<uint16_t>(FindListKind(kind).about);
  return about == ListAbout::kAnything || (set & static_cast<uint16_t>(about)) != 0;
}

bool IsOfHive(int kind) {
  constexpr int kOthers[] = {kListLiveSearch, kListLiveKeyFiles,  kListLiveUninstall,
                             kListLiveFiles,  kListLiveCountKeys, kListErrors,
                             kListLocalGroups};
  return std::ranges::count(kOthers, kind) == 0;
}

CellHolds HoldsOf(const ListKindInfo& info, int column) {
  const auto place = static_cast<size_t>(column);
  return place < info.columns.size() ? info.columns[place].holds : CellHolds::kText;
}

const KindColumn& FurtherColumn(std::string_view title) {
  const auto* found = std::ranges::find_if(
      kFurther, [title](const KindColumn& column) { return title == column.title; });
  return found == std::end(kFurther) ? kUnknownColumn : *found;
}

}  // namespace hivequarry
