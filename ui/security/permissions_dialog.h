// The dialog "Find Keys with Permissions".
#pragma once

#include <string>
#include <vector>

#include "security/security_lists.h"
#include "ui/draw/win.h"

namespace hivequarry {

// What the dialog begins with and, after OK, what the user asked for.
struct PermissionRequest {
  PermissionQuery query = {.sid = "S-1-5-18"};
  bool live = false;                  // in the live registry
  uint32_t live_roots = 0;            // LiveRoot
  bool hive_offered = true;           // there is a hive to search in
  std::vector<HiveSid> of_hive = {};  // offered by name
};

// Asks with the dialog "Who may write where", which offers the SIDs of the hive by name. False when
// the user does not want to search; `query` is unchanged then.
bool AskWhoMay(HWND owner, const std::vector<HiveSid>& of_hive, AccessQuery& query);

// Asks with the dialog; it begins with the request. True when the user wants to search: `request`
// is then what he chose, and its SID, if there is one, before its history. Otherwise `request`
// is unchanged.
bool AskPermissions(HWND owner, PermissionRequest& request);

// For combo boxes of SIDs: fills one with those used before and the one to begin with. The SID
// chosen there without blanks around it; false, after the message "Please specify a valid SID !",
// when there is a text that is none, or none at all unless that is `optional`. Of a choice with a
// name it is what follows the name; a name alone is looked for in the hive's (SidOfName).
void FillSidBox(HWND dialog, int control, const std::string& sid,
                const std::vector<HiveSid>& of_hive = {});
bool ReadSid(HWND dialog, int control, bool optional, std::string& sid,
             const std::vector<HiveSid>& of_hive = {});

}  // namespace hivequarry
