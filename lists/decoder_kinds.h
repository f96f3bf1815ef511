// The columns of lists of decoded evidence: own ones, then those that all of them have. Not for use
// outside this folder.
#pragma once

#include <algorithm>
#include <array>

#include "lists/evidence_kinds.h"
#include "lists/kind_columns.h"

namespace hivequarry::decoder_kinds {

using namespace kind_columns;

constexpr KindColumn kEvidenceTail[] = {
    Text("Note", 5, 1), Text(kStateTitle, 3), kKey, kValue, kKeyDate, kKeyOffset, kValueOffset};
static_assert(std::size(kEvidenceTail) == kEvidenceColumns);

// The columns that every kind of evidence has come last, so that whoever reads them counts from the
// end.
template <size_t N>
constexpr auto Evidence(const KindColumn (&own)[N]) {
  std::array<KindColumn, N + kEvidenceColumns> all{};
  std::ranges::copy(own, all.begin());
  std::ranges::copy(kEvidenceTail, all.begin() + N);
  return all;
}

// Numbers after titles are widths in thirds of the text unit, then ranks (KindColumn).
constexpr auto kUserAssist =
    Evidence({Text("Program", 10, 5), kRuns, kFocusCount, kFocusTime, Date("Last Run"),
              Number("Stored Count", 3), Number("Session", 2), Text("Decoded Name", 8, 2),
              Text("Counter", 6, 1)});
constexpr KindColumn kProgram = Text("Program", 12, 6);
constexpr KindColumn kControlSet = Text("Control Set", 4);
constexpr auto kShimCache =
    Evidence({Number("Entry", 2), kProgram, Date("Modified"), Text("Was Run", 2), Number("Size", 3),
              Date("Last Update"), Text("Package", 4, 1), Text("Form", 2), kControlSet});
constexpr auto kActivity = Evidence({kProgram, Date("Last Run"), Text("User", 6, 1),
                                     Text("Kind", 3), Text("Moderator", 3), kControlSet});
constexpr auto kAmCache =
    Evidence({Text("Kind", 4), Text("Item", 6, 4), Text("File", 10, 5), Text("SHA-1", 8, 1),
              Number("Size", 3), Text("Product", 5, 1), Text("Publisher", 5, 1), Text("Version", 4),
              Date("Linked"), Date("Modified"), Date("Created"), Date("Installed"),
              Text("Program Id", 6, 1), Text("Entry", 6, 1)});
constexpr auto kMuiCache = Evidence({Text("Program", 10, 5), Text("Kind", 3), Text("Text", 8, 6)});

constexpr auto kAppSettings =
    Evidence({Text("Setting Type", 4), Text("Setting", 12, 6), Date("Written")});

constexpr KindColumn kOrder = Number("Order", 2);
constexpr KindColumn kLastUsed = Date("Last Used");
constexpr KindColumn kModified = Date("Modified");
constexpr KindColumn kCreated = Date("Created");
constexpr KindColumn kAccessed = Date("Accessed");
constexpr KindColumn kReference = Text("File Reference", 4);
constexpr auto kShellBags = Evidence({Text("Folder", 12, 6), Text("Kind", 3), kModified, kCreated,
                                      kAccessed, Number("Size", 3), Text("Dos Name", 4), kReference,
                                      Text("Guid", 6, 1), kOrder, kLastUsed, Number("Slot", 2)});
constexpr auto kDialogFiles =
    Evidence({Text("List", 4), Text("Program", 5, 2), Text("File or Folder", 12, 6), Type("Ending"),
              kOrder, kLastUsed, kModified, kCreated, kAccessed, kReference});
constexpr auto kRecentDocs =
    Evidence({Text("Document", 8, 6), Text("Link", 6, 2), Type("Ending"), kOrder, kLastUsed});
constexpr auto kTypedTexts =
    Evidence({Text("List", 4), Text("Text", 12, 6), kOrder, kLastUsed, Date("Time")});

constexpr auto kUsbDevices = Evidence(
    {Text("Bus", 3), Text("Device", 7, 4), Text("Device Key", 6, 1), Text("Vendor", 3),
     Text("Product", 4), Text("Revision", 3), Text("Serial", 6, 2), Date("Installed"),
     Date("First Installed"), Date("Last Arrival"), Date("Last Removal"), Text("Volumes", 5, 2),
     Text("Container", 6), Text("Parent Prefix", 4), Text("Service", 3), kControlSet});
constexpr auto kVolumes =
    Evidence({Text("List", 4), Text("Volume", 6, 2), Text("Kind", 4), Text("Disk Signature", 4),
              Number("Start", 4), Text("Partition", 6), Text("Device", 8, 3), Text("Serial", 5, 1),
              Text("Device Name", 6, 2), Text("Names Together", 6, 1)});
constexpr auto kAutostart = Evidence({Text("Place", 5), Text("Entry", 5, 1), Text("Command", 12, 6),
                                      Text("Approved", 3), Date("Switched Off"), kControlSet});
constexpr auto kNetworks = Evidence(
    {Text("List", 3), Text("Network", 6, 4), Text("Description", 5, 1), Text("Category", 3),
     Text("Kind", 3), Date("Created (local)"), Date("Last Connected (local)"), Text("Gateway", 4),
     Text("Dns Suffix", 4), Text("First Network", 4), Text("Profile", 6)});
constexpr auto kInterfaces =
    Evidence({Text("Connection", 5, 2), Text("Address", 4), Text("Mask", 4), Text("Gateway", 4),
              Text("Name Servers", 5), Text("Dhcp Server", 4), Text("Domain", 4), Text("Dhcp", 2),
              Date("Lease Obtained"), Date("Lease Ends"), Text("Wireless", 4),
              Text("Interface", 6, 1), kControlSet});
constexpr auto kAccounts = Evidence(
    {Text("User", 5, 3), Number("Number", 2), Text("Full Name", 5, 1), Text("Comment", 6, 1),
     Text("Control", 6, 1), Date("Last Logon"), Date("Password Set"), Date("Expires"),
     Date("Last Wrong Password"), Number("Logons", 2), Number("Wrong Passwords", 2),
     Date("Created"), Text("Home Folder", 4), Text("Logon Script", 4), Text("Profile", 4),
     Text("Password Hint", 4)});
constexpr auto kGroups =
    Evidence({Text("Group", 6, 3), Number("Number", 2), Text("Domain", 3), Text("Comment", 8, 1),
              Number("Count", 2), Text("Members", 10, 5), Date("Created")});
constexpr auto kServiceFiles =
    Evidence({Text("Service", 5, 2), Text("Display Name", 6, 2), Text("File", 10, 6),
              Text("Start", 3), Text("Type", 2), Text("Image Path", 8, 1), Text("Library", 6, 1),
              Text("Account", 4), Text("Failure Command", 5), kControlSet});
constexpr auto kSystemFacts =
    Evidence({Text("Fact", 6, 1), Text("Is", 10, 5), Date("Time"), kControlSet});
constexpr auto kProfiles =
    Evidence({Text("User", 8, 2), Text("Folder", 8, 4), Date("Loaded"), Date("Unloaded"),
              Text("Profile State", 3), Text("Guid", 6, 1)});
constexpr auto kTasks =
    Evidence({Text("Task", 10, 5), Text("Author", 5, 1), Date("Created"), Date("Last Run"),
              Date("Completed"), Text("Registered", 5), Text("Description", 6, 1),
              Text("Guid", 6, 1), Text("Actions", 10, 5)});
constexpr auto kPolicies = Evidence({Text("Setting", 7, 2), Text("Is", 10, 5), kControlSet});

}  // namespace hivequarry::decoder_kinds
