#include "ui/security/security_commands.h"

#include <functional>
#include <string>
#include <utility>

#include "app/settings.h"
#include "host/host.h"
#include "security/security_lists.h"
#include "security/sid.h"
#include "ui/commands/search_commands.h"
#include "ui/main/main_window.h"
#include "ui/security/permissions_dialog.h"
#include "ui/security/replace_sid_dialog.h"
#include "ui/security/security_window.h"
#include "view/live_words.h"

namespace hivequarry {
namespace {

SecurityListOptions OptionsNow(const MainWindow& window) {
  return {TheSettings().options.resolve_sids, window.shown->sid_replacement};
}

// What a worker goes through; all of it stays as it is while the worker runs.
struct SecurityWalk {
  const HiveImage& hive;
  const KeyTree& tree;
  uint32_t item;
  SecurityListOptions options;
};
using FillFromHive = std::function<void(const SecurityWalk& walk, OutputList& list)>;

// A list that shows other SIDs than the hive holds says so.
void TellReplacement(const SidReplacement& replacement, OutputList& list) {
  const std::string text = ReplacementText(replacement);
  if (text.empty()) return;
  SetListTitle(list, ListTitle(list) + ": " + text);
  SetListSubtitle(list, text);
}

// Image and tree of the hive shown stay while the worker is at work: no hive goes during an
// operation.
void StartWalk(MainWindow& window, OutputListPtr list, uint32_t item, FillFromHive fill) {
  SecurityWalk walk{ShownHive(window), *window.shown->tree, item, OptionsNow(window)};
  TellReplacement(walk.options.replace, *list);
  FillListWindow(
      window, std::move(list),
      [walk = std::move(walk), fill = std::move(fill)](OutputList& rows) { fill(walk, rows); });
}

using WalkKeys = void (*)(const HiveImage&, const KeyTree&, uint32_t, const SecurityListOptions&,
                          OutputList&);
void StartKeyWalk(MainWindow& window, int kind, WalkKeys walk_keys) {
  StartWalk(window, MakeOutputList(kind), SelectedItem(window.shown->pane),
            [walk_keys](const SecurityWalk& walk, OutputList& list) {
              walk_keys(walk.hive, walk.tree, walk.item, walk.options, list);
            });
}

void StartQuery(MainWindow& window, uint32_t item, const SecurityQuery& query) {
  OutputListPtr list = MakeOutputList(kListSecurityKeys);
  SetListTitle(*list, TitleOfQuery(ShownHive(window), query));
  StartWalk(window, std::move(list), item, [query](const SecurityWalk& walk, OutputList& rows) {
    FindKeysBySecurity(walk.hive, walk.tree, walk.item, query, walk.options, rows);
  });
}

// --- keys that have something in common with a record: all of the tree's -------------------------

constexpr uint32_t kWholeTree = 0;  // the root's item

void FindKeysOfRecord(MainWindow& window, uint32_t record) {
  SecurityQuery query;
  query.record = record;
  StartQuery(window, kWholeTree, query);
}

// A beep where the row or key has no such SID.
void FindKeysOfSid(MainWindow& window, SecurityMode mode, const std::string& sid) {
  if (sid.empty()) return BeepAtUser();
  SecurityQuery query;
  query.mode = mode;
  query.sid = sid;
  StartQuery(window, kWholeTree, query);
}

std::string OwnerOfRecord(const MainWindow& window, uint32_t record) {
  SecurityRecordInfo info;
  // With the SID that lists show, as the query compares what they show.
  ReadSecurityRecord(ImageBytes(ShownHive(window)), record, info, &window.shown->sid_replacement);
  return info.owner_text;
}

uint32_t RecordOfSelection(const MainWindow& window) {
  const uint32_t key = window.shown->tree->items[SelectedItem(window.shown->pane)].position;
  return SecurityOfKey(ShownHive(window), key);
}

// Rows of a list outlive the hive that they speak of.
SecurityRow FocusedRecord(const ListPlace& place) {
  const int focused = FocusedRow(place);
  if (focused < 0 || place.owner->shown->slot < 0) return {};
  return ReadSecurityRow(ShownHive(*place.owner), *place.model,
                         ModelRow(place, static_cast<uint32_t>(focused)));
}

// --- permissions ---------------------------------------------------------------------------------

// The dialog begins with what was asked last.
PermissionRequest& LastRequest() {
  static PermissionRequest request{.live_roots = kLiveMachine};
  return request;
}

void FindInRegistry(MainWindow& window, const PermissionRequest& request) {
  FillListWindow(window, MakeOutputList(kListSecurityKeys),
                 [request, resolve = TheSettings().options.resolve_sids](OutputList& list) {
                   FindLiveKeysAndTell(request.live_roots, request.query, resolve, list);
                 });
}

}  // namespace

void OnListSecurityRecords(MainWindow& window) {
  StartWalk(window, MakeOutputList(kListSecurityScan), kWholeTree,
            [](const SecurityWalk& walk, OutputList& list) {
              ScanSecurityCells(walk.hive, walk.options, list);
            });
}

void OnListAces(MainWindow& window) {
  StartWalk(
      window, MakeAceList(TheSettings().options.file_offsets), kWholeTree,
      [](const SecurityWalk& walk, OutputList& list) { ListAces(walk.hive, walk.options, list); });
}

void OnListUsedRecords(MainWindow& window) {
  StartKeyWalk(window, kListUsedRecords, ListUsedRecords);
}

void OnListKeyOwners(MainWindow& window) { StartKeyWalk(window, kListKeyOwners, ListKeyOwners); }

void OnListRecordKeys(MainWindow& window) { StartKeyWalk(window, kListRecordKeys, ListRecordKeys); }

void OnListLocalGroups(MainWindow& window) {
  FillListWindow(window, MakeOutputList(kListLocalGroups), ListBuiltinAliases);
}

void OnFindKeysWithPermissions(MainWindow& window) {
  PermissionRequest& request = LastRequest();
  // What was asked last may have been asked with another hive, or none.
  request.hive_offered = window.shown->slot >= 0;
  request.of_hive = request.hive_offered ? SidsOfHive(ShownHive(window), *window.shown->tree)
                                         : std::vector<HiveSid>();
  if (!AskPermissions(window.handle, request)) return;
  if (request.live) return FindInRegistry(window, request);
  const uint32_t item = SelectedItem(window.shown->pane);
  SecurityQuery query;
  query.mode = SecurityMode::kPermissions;
  query.permissions = request.query;
  StartQuery(window, item == kNoItem ? kWholeTree : item, query);
}

void OnWhoMayWrite(MainWindow& window) {
  static AccessQuery last{"", kChangeRights};  // the dialog begins with what was asked last
  const HiveImage& hive = ShownHive(window);
  if (!AskWhoMay(window.handle, SidsOfHive(hive, *window.shown->tree), last)) return;
  const uint32_t item = SelectedItem(window.shown->pane);
  OutputListPtr list = MakeOutputList(kListWhoMayWrite);
  SetListTitle(*list, TitleOfAccess(last));
  StartWalk(window, std::move(list), item == kNoItem ? kWholeTree : item,
            [query = last](const SecurityWalk& walk, OutputList& rows) {
              ListWhoMay(walk.hive, walk.tree, walk.item, query, walk.options, rows);
            });
}

void OnReplaceSid(MainWindow& window) {
  AskReplacement(window.handle, window.shown->sid_replacement);
}

void OnSecurityRecord(MainWindow& window) { OpenSecurityWindow(window, RecordOfSelection(window)); }

void OnKeysOfKeysRecord(MainWindow& window) {
  const uint32_t record = RecordOfSelection(window);
  if (record == kNoOffset) return TellInvalidRecord(window, record);
  FindKeysOfRecord(window, record);
}

void OnKeysOfKeysOwner(MainWindow& window) {
  const uint32_t record = RecordOfSelection(window);
  const std::string owner = OwnerOfRecord(window, record);
  if (owner.empty()) return TellInvalidRecord(window, record);
  FindKeysOfSid(window, SecurityMode::kOwner, owner);
}

void OnKeysOfRowsRecord(ListPlace& place) {
  const SecurityRow row = FocusedRecord(place);
  if (row.record == kNoOffset) return BeepAtUser();
  FindKeysOfRecord(*place.owner, row.record);
}

void OnKeysOfRowsOwner(ListPlace& place) {
  const SecurityRow row = FocusedRecord(place);
  const bool named = !row.owner.empty() || row.record == kNoOffset;
  FindKeysOfSid(*place.owner, SecurityMode::kOwner,
                named ? row.owner : OwnerOfRecord(*place.owner, row.record));
}

void OnKeysOfRowsAce(ListPlace& place) {
  FindKeysOfSid(*place.owner, SecurityMode::kAce, FocusedRecord(place).ace);
}

void OnRowsSecurityRecord(ListPlace& place) {
  const SecurityRow row = FocusedRecord(place);
  if (row.record == kNoOffset) return BeepAtUser();
  OpenSecurityWindow(*place.owner, row.record);
}

}  // namespace hivequarry
