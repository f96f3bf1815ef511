#include "evidence/decoders.h"

#include <algorithm>

#include "evidence/decode.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "reports/freed_rows.h"

namespace hivequarry {
namespace {

// `decode_loose`, where a decoder has it, gets the values that no key names; only for the whole
// tree, since such a value is in no branch.
struct DecoderWork {
  std::span<const PlacePattern> places;  // none: the function finds them
  void (*decode)(EvidenceRun&, Places);
  void (*decode_loose)(EvidenceRun&, std::span<const EvidenceValue>) = nullptr;
};

// Patterns of the decoders, as places.h has them. Where a decoder's own table is "in the order of
// the patterns", the order here is a part of it.
constexpr PlacePattern kUserAssist[] = {
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\!UserAssist\\*\\Count"};
constexpr PlacePattern kShimCache[] = {"<set>\\Control\\Session Manager\\!AppCompatCache",
                                       "<set>\\Control\\Session Manager\\!AppCompatibility"};
constexpr PlacePattern kActivity[] = {
    "<set>\\Services\\!bam\\UserSettings\\*", "<set>\\Services\\!bam\\State\\UserSettings\\*",
    "<set>\\Services\\!dam\\UserSettings\\*", "<set>\\Services\\!dam\\State\\UserSettings\\*"};
constexpr PlacePattern kAmCache[] = {"!Root\\File\\*\\*",
                                     "!Root\\Programs\\*",
                                     "Root\\!InventoryApplicationFile\\*",
                                     "Root\\!InventoryApplication\\*",
                                     "Root\\!InventoryDriverBinary\\*",
                                     "Root\\!InventoryDriverPackage\\*",
                                     "Root\\!InventoryDevicePnp\\*",
                                     "Root\\!InventoryDeviceContainer\\*",
                                     "Root\\!InventoryApplicationShortcut\\*"};
constexpr PlacePattern kMuiCache[] = {
    "Software\\Microsoft\\Windows\\ShellNoRoam\\!MUICache",
    "Software\\Microsoft\\Windows\\Shell\\!MuiCache",
    "Local Settings\\Software\\Microsoft\\Windows\\Shell\\!MuiCache",
    "Software\\Classes\\Local Settings\\Software\\Microsoft\\Windows\\Shell\\!MuiCache",
    "Local Settings\\!MuiCache\\*\\*",
    "Software\\Classes\\Local Settings\\!MuiCache\\*\\*"};
constexpr PlacePattern kAppSettings[] = {"!LocalState", "!RoamingState", "!TemporaryState"};
constexpr PlacePattern kShellBags[] = {
    "Software\\Microsoft\\Windows\\Shell\\!BagMRU",
    "Software\\Microsoft\\Windows\\ShellNoRoam\\!BagMRU",
    "Local Settings\\Software\\Microsoft\\Windows\\Shell\\!BagMRU",
    "Local Settings\\Software\\Microsoft\\Windows\\ShellNoRoam\\!BagMRU",
    "Wow6432Node\\Local Settings\\Software\\Microsoft\\Windows\\Shell\\!BagMRU",
    "Software\\Classes\\Local Settings\\Software\\Microsoft\\Windows\\Shell\\!BagMRU",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\!StreamMRU"};
constexpr PlacePattern kDialogFiles[] = {
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32\\!OpenSavePidlMRU",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32\\!OpenSaveMRU",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32\\!LastVisitedPidlMRU",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32\\!LastVisitedPidlMRULegacy",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32\\!LastVisitedMRU",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32\\!FirstFolder",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32\\!CIDSizeMRU"};
constexpr PlacePattern kRecentDocs[] = {
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\!RecentDocs"};
constexpr PlacePattern kTypedTexts[] = {
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\!RunMRU",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\!TypedPaths",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\!WordWheelQuery",
    "Software\\Microsoft\\Search Assistant\\!ACMru\\*",
    "Software\\Microsoft\\Internet Explorer\\!TypedURLs",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\!Map Network Drive MRU"};

constexpr PlacePattern kUsbDevices[] = {"<set>\\Enum\\!USBSTOR\\*\\*", "<set>\\Enum\\!USB\\*\\*",
                                        "<set>\\Enum\\SWD\\!WPDBUSENUM\\*",
                                        "<set>\\Enum\\!WpdBusEnumRoot\\UMB\\*"};
constexpr PlacePattern kVolumes[] = {
    "!MountedDevices", "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\!MountPoints2\\*",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\!MountPoints2\\CPC\\Volume\\*"};
constexpr PlacePattern kNetworks[] = {
    "Microsoft\\Windows NT\\CurrentVersion\\!NetworkList\\Profiles\\*",
    "Microsoft\\Windows NT\\CurrentVersion\\!NetworkList\\Signatures\\Managed\\*",
    "Microsoft\\Windows NT\\CurrentVersion\\!NetworkList\\Signatures\\Unmanaged\\*"};
constexpr PlacePattern kInterfaces[] = {"<set>\\Services\\!Tcpip\\Parameters\\Interfaces\\*",
                                        "<set>\\Services\\!Tcpip\\Parameters\\Interfaces\\*\\*"};
constexpr PlacePattern kAccounts[] = {"SAM\\Domains\\!Account\\Users"};
constexpr PlacePattern kGroups[] = {"SAM\\Domains\\!Builtin\\Aliases",
                                    "SAM\\Domains\\!Account\\Aliases"};

constexpr PlacePattern kServiceFiles[] = {"<set>\\!Services\\*"};
constexpr PlacePattern kTasks[] = {
    "Microsoft\\Windows NT\\CurrentVersion\\Schedule\\!TaskCache\\Tasks\\*"};
constexpr PlacePattern kProfileKeys[] = {"Microsoft\\Windows NT\\CurrentVersion\\!ProfileList\\*"};
// In the order of the places that the decoder numbers.
constexpr PlacePattern kSystemFacts[] = {"<set>\\Control\\Windows",
                                         "<set>\\Control\\!TimeZoneInformation",
                                         "<set>\\Control\\ComputerName\\ComputerName",
                                         "<set>\\Control\\ComputerName\\ActiveComputerName",
                                         "<set>\\Services\\Tcpip\\Parameters",
                                         "Select",
                                         "Microsoft\\Windows NT\\CurrentVersion",
                                         "Setup\\*"};
constexpr PlacePattern kPolicies[] = {
    "<set>\\Control\\!Lsa", "<set>\\Control\\SecurityProviders\\!WDigest", "Policy\\!PolAdtEv"};

// In the order of kDecoders.
constexpr DecoderWork kWork[] = {
    {kUserAssist, DecodeUserAssist, DecodeLooseUserAssist},
    {kShimCache, DecodeShimCache, DecodeLooseShimCache},
    {kActivity, DecodeActivity, DecodeLooseActivity},
    {kAmCache, DecodeAmCache},
    {kMuiCache, DecodeMuiCache, DecodeLooseMuiCache},
    {kAppSettings, DecodeAppSettings, DecodeLooseAppSettings},
    {kShellBags, DecodeShellBags, DecodeLooseShellBags},
    {kDialogFiles, DecodeDialogFiles},
    {kRecentDocs, DecodeRecentDocs},
    {kTypedTexts, DecodeTypedTexts},
    {kUsbDevices, DecodeUsbDevices},
    {kVolumes, DecodeVolumes},
    {{}, DecodeAutostart},
    {kServiceFiles, DecodeServiceFiles},
    {kTasks, DecodeTasks},
    {kNetworks, DecodeNetworks},
    {kInterfaces, DecodeInterfaces},
    {kAccounts, DecodeAccounts},
    {kGroups, DecodeGroups},
    {kProfileKeys, DecodeProfiles},
    {kSystemFacts, DecodeSystemFacts},
    {kPolicies, DecodePolicies},
};
static_assert(std::size(kWork) == std::size(kDecoders), "a decoder without its work");

// Nothing is decoded where no pattern leads anywhere, but for a decoder that knows its places
// itself.
void Decode(const DecoderWork& work, EvidenceRun& run) {
  const std::vector<EvidencePlace> places = FindPlaces(run.keys, work.places);
  if (!places.empty() || work.places.empty()) work.decode(run, places);
  if (work.decode_loose == nullptr || run.branch != 0 || StopRequested()) return;
  work.decode_loose(run, run.keys.LooseValues());
}

// What the logs took away or wrote over, decoded as the file alone has it.
void DecodeLost(const DecoderWork& work, const LostState& state, EvidenceRun& now) {
  EvidenceKeys keys(state.before.image, state.before.tree, nullptr);
  EvidenceRun run = {keys, now.list, now.own_columns, 0, &state.lost};
  Decode(work, run);
}

}  // namespace

std::span<const DecoderInfo> Decoders() { return kDecoders; }

const DecoderInfo* FindDecoder(std::string_view name) {
  const auto* found = std::ranges::find_if(
      kDecoders, [name](const DecoderInfo& decoder) { return name == decoder.name; });
  return found == std::end(kDecoders) ? nullptr : found;
}

bool RunDecoder(const DecoderInfo& decoder, EvidenceSource& source, uint32_t item,
                OutputList& list) {
  if (item >= source.tree.items.size()) return false;
  const DecoderWork& work = kWork[&decoder - kDecoders];
  FreedSource freed(source.hive, source.tree, source.freed);
  EvidenceKeys keys(source.hive, source.tree, &freed);
  EvidenceRun run = {keys, list, ColumnCount(list) - kEvidenceColumns, item, nullptr};
  Decode(work, run);
  const LostState* lost = item == 0 ? LostStateOf(source) : nullptr;
  if (lost != nullptr) DecodeLost(work, *lost, run);
  const bool found = RowCount(list) != 0 || StopRequested();
  ShowStatus(found ? "" : kNoEvidence);
  return found;
}

bool RunDecoder(const DecoderInfo& decoder, const HiveImage& hive, const KeyTree& tree,
                uint32_t item, OutputList& list) {
  EvidenceSource source(hive, tree);
  return RunDecoder(decoder, source, item, list);
}

}  // namespace hivequarry
