// The kinds of lists: titles and columns.
#include "lists/output_list.h"

namespace hivequarry {
namespace {

constexpr const char* kRoots[] = {"Root", "Root", "Root", "Root", "Root", "Root",
                                  "Root", "Root", "Root", "Root", "Root", "Root",
                                  "Root", "Root", "Root", "Root", "Root", "Root"};
constexpr const char* kSearch[] = {"Key", "Value", "Data", "Type", "Key Offset"};
constexpr const char* kLiveSearch[] = {"Key", "Value", "Data", "Type", "Key Date"};
constexpr const char* kCompare[] = {"Key",      "Value",      "File",
                                    "Registry", "Key Offset", "Value Offset"};
constexpr const char* kKeyDates[] = {"Key Date", "Key", "Key Offset"};
constexpr const char* kClassNames[] = {"Key", "Length", "Classname"};
constexpr const char* kValueErrors[] = {"Key", "Value", "Error"};
constexpr const char* kDatedValues[] = {"Key Date", "Key", "Value"};
constexpr const char* kValueData[] = {"Key", "Value", "Type", "Data length", "Data"};
constexpr const char* kOwners[] = {"Key", "Owner name", "Owner Domain"};
constexpr const char* kProgIds[] = {"Key", "Value", "Data", "Type", "Key date ProgID"};
constexpr const char* kKeyFiles[] = {"Key", "Value", "Data", "File/Folder", "Type", "Key Date"};
constexpr const char* kClasses[] = {"Key", "CLSID Name", "InprocServer32", "InprocServer",
                                    "Key Date"};
constexpr const char* kUninstall[] = {"Key Date", "Key", "Display Name", "Uninstall String"};
constexpr const char* kFiles[] = {"File/Folder", "Key", "Value", "Data", "Type", "Key Date"};
constexpr const char* kOpenWith[] = {"Key", "Open with", "Key Date"};
constexpr const char* kTypedValues[] = {"Key", "Value", "Data", "Type"};
constexpr const char* kRootKeys[] = {"Root", "Valid Root", "Key", "KeyName", "Key Date"};
constexpr const char* kSecurityScan[] = {
    "Security Record", "ACE count",     "Owner Sid", "Owner Account",
    "Group Sid",       "Group Account", "Next",      "Previous"};
constexpr const char* kCountKeys[] = {"Key",  "Value",          "Rot13-Value",
                                      "Data", "Date extracted", "Key Offset",
                                      "Runs", "Focus Count",    "Focus Time (ms)"};
constexpr const char* kLiveCountKeys[] = {"Key",  "Value",          "Rot13-Value",
                                          "Data", "Date extracted", "Key Date",
                                          "Runs", "Focus Count",    "Focus Time (ms)"};
constexpr const char* kServices[] = {"Key",   "Start", "Display Name", "Imagepath",
                                     "Group", "Type",  "Description",  "Key Date"};
constexpr const char* kKeyOwners[] = {"Key", "Owner Sid", "Owner Account", "Owner Domain",
                                      "Key Date"};
constexpr const char* kSecurityKeys[] = {"Key",      "Owner Sid",  "Owner Account",
                                         "Key Date", "Key Offset", "Security Record"};
constexpr const char* kSecurityRecords[] = {"Security Record", "Keys", "ACEs", "Owner Sid",
                                            "Owner Account"};
constexpr const char* kRecordKeys[] = {"Key", "Key Date", "Key Offset", "Security Record"};
constexpr const char* kAces[] = {"ACE", "Type", "Flags", "Permissions", "Sid", "Account"};
constexpr const char* kFileStatus[] = {"Status", "File"};
constexpr const char* kKeys[] = {"Key"};
constexpr const char* kPieces[] = {"Start Offset", "End Offset", "Size", "File"};
constexpr const char* kOpenSaveMru[] = {"File", "Type", "Key", "Value", "Key Date", "Key Offset"};
constexpr const char* kStreamMru[] = {"Path stored in Data",
                                      "Value",
                                      "Modified",
                                      "Created",
                                      "Accessed",
                                      "Date of associated Stream Key",
                                      "Size",
                                      "Dos Name",
                                      "Key",
                                      "Value Offset",
                                      "Key Offset"};
constexpr const char* kErrors[] = {"Root", "Key", "Value", "Error"};

constexpr const char* kInfo[] = {"file",
                                 "length",
                                 "base_offset",
                                 "header_valid",
                                 "root_valid",
                                 "data_area_base",
                                 "root_position",
                                 "root_path",
                                 "list_style",
                                 "keys",
                                 "connected_keys",
                                 "disconnected_keys",
                                 "values",
                                 "disconnected_values",
                                 "security_records",
                                 "bins",
                                 "virtual_parents",
                                 "virtual_children",
                                 "virtual_siblings",
                                 "freed_keys",
                                 "freed_values",
                                 "unread_bytes",
                                 "unread_ranges",
                                 "root_made",
                                 "cut_at",
                                 "cut_reason",
                                 "cut_rest",
                                 "moved"};

constexpr const char* kTree[] = {"Key",    "Key Offset", "Parent Offset", "Key Date",
                                 "Status", "Marks",      "Connected"};
constexpr const char* kValues[] = {"Key",          "Value",      "Type",  "Data",
                                   "Value Offset", "Key Offset", "Status"};
constexpr const char* kDetail[] = {"Field", "Text"};
constexpr const char* kBins[] = {"Block", "Position", "Size", "Copy", "Own Offset"};
constexpr const char* kRawRecord[] = {"Position", "Size", "Field", "Bytes", "Meaning", "Leads to"};

constexpr const char* kEdits[] = {"Key",          "Value",        "Type",        "Data",
                                  "Type in file", "Data in file", "Value Offset"};

constexpr const char* kLocalGroups[] = {"Identifier", "Sid", "Name", "Domain", "Kind"};

constexpr const char* kFreedKeys[] = {"Key",    "Key Offset",   "Parent Offset", "Key Date",
                                      "Values", "Values found", "Place"};
constexpr const char* kFreedValues[] = {"Key",          "Value",      "Type", "Data",
                                        "Value Offset", "Key Offset", "Place"};

constexpr uint32_t Column(int column) { return 1U << column; }
constexpr uint32_t kAllInfo = (1U << std::size(kInfo)) - 1;
constexpr uint32_t kCounts = Column(6) | Column(7) | Column(8);
constexpr uint32_t kInfoFlags = Column(3) | Column(4) | Column(23);
constexpr uint32_t kInfoTexts =
    Column(0) | Column(7) | Column(22) | Column(25) | Column(26) | Column(27);

constexpr const char* kOther = "Output List";

constexpr ListKindInfo kKinds[] = {
    {4, kOther, kRoots},
    {5, "Search results", kSearch},
    {6, "Registry Search results", kLiveSearch},
    {7, "Compare results", kCompare},
    {11, "Key Dates", kKeyDates},
    {14, kOther, kClassNames},
    {15, kOther, kValueErrors},
    {17, kOther, kDatedValues},
    {20, kOther, kValueData},
    {22, kOther, kOwners},
    {25, kOther, kProgIds},
    {26, kOther, kKeyFiles},
    {27, kOther, kKeyFiles},
    {28, kOther, kClasses},
    {29, kOther, kUninstall},
    {30, kOther, kUninstall},
    {31, kOther, kFiles},
    {32, kOther, kFiles},
    {33, kOther, kOpenWith},
    {36, kOther, kTypedValues},
    {38, kOther, kRootKeys},
    {39, kOther, kSecurityScan},
    {41, "Count Keys", kCountKeys, 0, kCounts},
    {42, "Registry Current User Count Keys", kLiveCountKeys, 0, kCounts},
    {44, kOther, kServices},
    {45, kOther, kKeyOwners},
    // The command that fills it sets the title when it asked for something else.
    {46, "Keys with Permissions", kSecurityKeys},
    {47, "Security Records", kSecurityRecords},
    {48, kOther, kRecordKeys},
    {49, "ACE List", kAces},
    {50, kOther, kFileStatus},
    {51, kOther, kKeys},
    {55, kOther, kPieces},
    {56, "OpenSaveMRU", kOpenSaveMru},
    {57, "StreamMRU", kStreamMru},
    {kListErrors, "Error list", kErrors},
    {kListInfo, "Hive information", kInfo, Column(0), kAllInfo & ~kInfoTexts & ~kInfoFlags,
     kInfoFlags},
    {kListTree, "Key tree", kTree, 0, Column(5) | Column(6), 0},
    {kListValues, "Values", kValues},
    {kListDetail, "Detail", kDetail},
    {kListBins, "Block list", kBins},
    {kListRawRecord, "Raw record", kRawRecord, 0, Column(1), 0},
    {kListEdits, "Edited values", kEdits},
    {kListLocalGroups, "Local groups", kLocalGroups},
    {kListFreedKeys, "Freed Keys", kFreedKeys, 0, Column(4) | Column(5), 0},
    {kListFreedValues, "Freed Values", kFreedValues},
};

constexpr bool KindsFit() {
  for (const ListKindInfo& info : kKinds) {
    const int limit = info.kind < kFirstOwnKind ? kMaxColumns : kMaxOwnColumns;
    if (info.columns.empty() || std::ssize(info.columns) > limit) return false;
  }
  return true;
}
static_assert(KindsFit());

constexpr ListKindInfo kUnknownKind = {0, kOther, {}};

}  // namespace

std::span<const ListKindInfo> AllListKinds() { return kKinds; }

const ListKindInfo& FindListKind(int kind) {
  for (const ListKindInfo& info : kKinds) {
    if (info.kind == kind) return info;
  }
  return kUnknownKind;
}

}  // namespace hivequarry
