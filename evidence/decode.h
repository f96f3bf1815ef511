// The functions of the decoders: each adds the rows of all the places that its patterns lead to.
// What they list is said in the manual ("Evidence in lists").
#pragma once

#include <span>

#include "evidence/evidence_run.h"

namespace hivequarry {

using Places = std::span<const EvidencePlace>;

// Each adds the rows of one decoder (decoder_table.h), of the keys in `places`, which its patterns
// (decoders.cpp) have found. Which values of these keys have which form on which system is said at
// the head of its file, and in the manual ("Evidence in lists").
void DecodeUserAssist(EvidenceRun& run, Places places);
void DecodeShimCache(EvidenceRun& run, Places places);
void DecodeActivity(EvidenceRun& run, Places places);
void DecodeAmCache(EvidenceRun& run, Places places);
void DecodeMuiCache(EvidenceRun& run, Places places);
void DecodeAppSettings(EvidenceRun& run, Places places);
void DecodeShellBags(EvidenceRun& run, Places places);
void DecodeDialogFiles(EvidenceRun& run, Places places);
void DecodeRecentDocs(EvidenceRun& run, Places places);
void DecodeTypedTexts(EvidenceRun& run, Places places);
void DecodeUsbDevices(EvidenceRun& run, Places places);
void DecodeVolumes(EvidenceRun& run, Places places);
void DecodeAutostart(EvidenceRun& run, Places places);  // knows its places itself
void DecodeNetworks(EvidenceRun& run, Places places);
void DecodeInterfaces(EvidenceRun& run, Places places);
void DecodeAccounts(EvidenceRun& run, Places places);
void DecodeGroups(EvidenceRun& run, Places places);
void DecodeServiceFiles(EvidenceRun& run, Places places);
void DecodeSystemFacts(EvidenceRun& run, Places places);
void DecodeProfiles(EvidenceRun& run, Places places);
void DecodeTasks(EvidenceRun& run, Places places);
void DecodePolicies(EvidenceRun& run, Places places);

// Values that no key names, recovered or freed, which are told by what they hold.
// Each adds rows of those values alone whose name or data leave no doubt; all others belong to
// other decoders, or to none. Such rows say "no key known".
void DecodeLooseUserAssist(EvidenceRun& run, std::span<const EvidenceValue> values);
void DecodeLooseShimCache(EvidenceRun& run, std::span<const EvidenceValue> values);
void DecodeLooseActivity(EvidenceRun& run, std::span<const EvidenceValue> values);
void DecodeLooseMuiCache(EvidenceRun& run, std::span<const EvidenceValue> values);
void DecodeLooseAppSettings(EvidenceRun& run, std::span<const EvidenceValue> values);
void DecodeLooseShellBags(EvidenceRun& run, std::span<const EvidenceValue> values);

}  // namespace hivequarry
