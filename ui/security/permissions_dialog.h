// The dialog "Find Keys with Permissions".
#pragma once

#include <string>

#include "security/security_lists.h"
#include "ui/draw/win.h"

namespace hivequarry {

struct PermissionRequest {
  PermissionQuery query = {.sid = "S-1-5-18"};
  bool live = false;         // in the live registry
  uint32_t live_roots = 0;   // LiveRoot
  bool hive_offered = true;  // there is a hive to search in
};

// Asks with the dialog; it begins with the request. True when the user wants to search: `request`
// is then what he chose, and its SID, if there is one, before its history. Otherwise `request`
// is unchanged.
bool AskPermissions(HWND owner, PermissionRequest& request);

// For combo boxes of SIDs: fills one with those used before and the one to begin with. The SID
// chosen there without blanks around it; false, after the message "Please specify a valid SID !",
// when there is a text that is none, or none at all unless that is `optional`.
void FillSidBox(HWND dialog, int control, const std::string& sid);
bool ReadSid(HWND dialog, int control, bool optional, std::string& sid);

}  // namespace hivequarry
