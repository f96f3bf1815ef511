// Numbers of the kinds of decoded evidence (list_kinds.h); 120 to 140 and 143 to 146 are for these.
#pragma once

namespace hivequarry {

// Kept in files, so none ever changes.
inline constexpr int kListUserAssist = 120;
inline constexpr int kListShellBags = 121;
inline constexpr int kListDialogFiles = 122;
inline constexpr int kListRecentDocs = 123;
inline constexpr int kListTypedTexts = 124;
inline constexpr int kListShimCache = 125;
inline constexpr int kListActivity = 126;
inline constexpr int kListAmCache = 127;
inline constexpr int kListMuiCache = 128;
inline constexpr int kListUsbDevices = 129;
inline constexpr int kListVolumes = 130;
inline constexpr int kListAutostart = 131;
inline constexpr int kListNetworks = 132;
inline constexpr int kListInterfaces = 133;
inline constexpr int kListAccounts = 134;
inline constexpr int kListGroups = 135;
inline constexpr int kListServiceFiles = 136;
inline constexpr int kListSystemFacts = 137;
inline constexpr int kListProfiles = 138;
inline constexpr int kListTasks = 139;
inline constexpr int kListPolicies = 140;
inline constexpr int kListAppSettings = 143;

// Columns at the end of each of them: note, state, and where the row is from.
inline constexpr int kEvidenceColumns = 7;

}  // namespace hivequarry
