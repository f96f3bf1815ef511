// Lists made from the live registry: searching it, reports on it, keys by their permissions. All
// run on a worker, add rows to an empty list as they go, and end early when the user stops. Nothing
// here changes the registry.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "lists/output_list.h"
#include "live/registry.h"
#include "reports/key_source.h"
#include "reports/search.h"
#include "reports/structure_reports.h"
#include "security/security_lists.h"

namespace hivequarry {

// The roots that the dialogs offer, a bit each. Where one chosen root is part of another (the
// current user's keys of all users', the current configuration of the machine's), its keys are
// walked once, there.
enum LiveRoot : uint8_t { kLiveMachine = 1, kLiveUser = 2, kLiveUsers = 4, kLiveConfig = 8 };

// The keys of the live registry from a path on ("HKLM\SOFTWARE"; long form too). A path whose first
// key can't be opened gives that one key, with the error. Symbolic links aren't followed, so that
// the walk ends.
std::unique_ptr<KeySource> KeysOfRegistry(const std::string& path);

// "not found", "Access denied" or "Error %d".
std::string RegistryErrorText(int32_t error);

// kListLiveSearch; the same matching as in a hive.
void SearchRegistry(uint32_t roots, const SearchPattern& pattern, OutputList& list);
// The report's live kind, from its live root; several roots for reports that have them.
void RunReportOnRegistry(Report report, OutputList& list);
// kListSecurityKeys, offsets empty: keys of the roots whose record matches. The SACL is read too
// when the query needs it: false, with nothing listed, where the privilege for that is not held.
bool FindLiveKeysByPermissions(uint32_t roots, const PermissionQuery& query, bool resolve,
                               OutputList& list);

}  // namespace hivequarry
