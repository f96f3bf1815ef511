// The accounts that SIDs name, by a table that the program carries and by this machine.

#include <algorithm>

#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "security/sid.h"

namespace hivequarry {
namespace {

// Searched front to back.
constexpr WellKnownSid kWellKnownSids[] = {
    {"S-1-0", "", "Null Authority", 'W'},
    {"S-1-0-0", "", "Nobody", 'W'},
    {"S-1-1", "", "World Authority", 'W'},
    {"S-1-1-0", "", "Everyone", 'W'},
    {"S-1-2", "", "Local Authority", 'W'},
    {"S-1-2-0", "", "Local", 'W'},
    {"S-1-3", "", "Creator Authority", 'A'},
    {"S-1-3-0", "", "CREATOR OWNER", 'A'},
    {"S-1-3-1", "", "Creator Group", 'A'},
    {"S-1-3-2", "", "Creator Owner Server", 'A'},
    {"S-1-3-3", "", "Creator Group Server", 'A'},
    {"S-1-3-4", "", "OWNER RIGHTS", 'A'},
    {"S-1-5", "", "NT AUTHORITY", 'W'},
    {"S-1-5-1", "NT AUTHORITY", "Dialup", 'W'},
    {"S-1-5-2", "NT AUTHORITY", "NetWork", 'W'},
    {"S-1-5-3", "NT AUTHORITY", "Batch", 'W'},
    {"S-1-5-4", "NT AUTHORITY", "Interactive", 'W'},
    {"S-1-5-6", "NT AUTHORITY", "Service", 'A'},
    {"S-1-5-7", "NT AUTHORITY", "Anonymous Logon", 'A'},
    {"S-1-5-8", "NT AUTHORITY", "Proxy", 'A'},
    {"S-1-5-9", "NT AUTHORITY", "Enterprise Domain Controllers", 'A'},
    {"S-1-5-10", "NT AUTHORITY", "Principal Self", 'A'},
    {"S-1-5-11", "NT AUTHORITY", "Authenticated Users", 'W'},
    {"S-1-5-12", "NT AUTHORITY", "Restricted", 'A'},
    {"S-1-5-13", "NT AUTHORITY", "Terminal Server User", 'W'},
    {"S-1-5-14", "NT AUTHORITY", "Remote Interactive Logon", 'W'},
    {"S-1-5-15", "NT AUTHORITY", "This Organization", 'W'},
    {"S-1-5-18", "NT AUTHORITY", "SYSTEM", 'A'},
    {"S-1-5-19", "NT AUTHORITY", "Local Service", 'A'},
    {"S-1-5-20", "NT AUTHORITY", "Network Service", 'A'},
    {"S-1-5-32-544", "BUILTIN", "Administrators", 'A'},
    {"S-1-5-32-545", "BUILTIN", "Users", 'A'},
    {"S-1-5-32-546", "BUILTIN", "Guests", 'A'},
    {"S-1-5-32-547", "BUILTIN", "Power Users", 'A'},
    {"S-1-5-32-548", "BUILTIN", "Account Operators", 'A'},
    {"S-1-5-32-549", "BUILTIN", "System Operators", 'A'},
    {"S-1-5-32-550", "BUILTIN", "Print Operators", 'A'},
    {"S-1-5-32-551", "BUILTIN", "Backup Operators", 'A'},
    {"S-1-5-32-552", "BUILTIN", "Replicator", 'A'},
    {"S-1-5-32-553", "BUILTIN", "Ras Servers", 'A'},
    {"S-1-5-32-554", "BUILTIN", "Pre-Windows 2000 Compatible Access", 'A'},
    {"S-1-5-32-555", "BUILTIN", "Remote Desktop Users", 'A'},
    {"S-1-5-32-556", "BUILTIN", "Network Configuration Operators", 'A'},
    {"S-1-5-32-557", "BUILTIN", "Incoming Forest Trust Builders", 'A'},
    {"S-1-5-32-558", "BUILTIN", "Performance Monitor Users", 'A'},
    {"S-1-5-32-559", "BUILTIN", "Performance Log Users", 'A'},
    {"S-1-5-32-560", "BUILTIN", "Windows Authorization Access Group", 'A'},
    {"S-1-5-32-561", "BUILTIN", "Terminal Server License Servers", 'A'},
    {"S-1-5-32-562", "BUILTIN", "Distributed COM Users", 'A'},
    {"S-1-5-32-568", "BUILTIN", "IIS_IUSRS", 'A'},
    {"S-1-5-32-569", "BUILTIN", "Cryptographic Operators", 'A'},
    {"S-1-5-32-573", "BUILTIN", "Event Log Readers", 'A'},
    {"S-1-5-32-574", "BUILTIN", "Certificate Service DCOM Access", 'A'},
    {"S-1-5-32-575", "BUILTIN", "RDS Remote Access Servers", 'A'},
    {"S-1-5-32-576", "BUILTIN", "RDS Endpoint Servers", 'A'},
    {"S-1-5-32-577", "BUILTIN", "RDS Management Servers", 'A'},
    {"S-1-5-32-578", "BUILTIN", "Hyper-V Administrators", 'A'},
    {"S-1-5-32-579", "BUILTIN", "Access Control Assistance Operators", 'A'},
    {"S-1-5-32-580", "BUILTIN", "Remote Management Users", 'A'},
    {"S-1-5-32-581", "BUILTIN", "System Managed Accounts Group", 'A'},
    {"S-1-5-32-582", "BUILTIN", "Storage Replica Administrators", 'A'},
    {"S-1-5-32-583", "BUILTIN", "Device Owners", 'A'},
    {"S-1-5-32-584", "BUILTIN", "User Mode Hardware Operators", 'A'},
    {"S-1-5-17", "NT AUTHORITY", "IUSR", 'A'},
    {"S-1-5-33", "NT AUTHORITY", "Write Restricted", 'A'},
    {"S-1-5-80-0", "NT SERVICE", "ALL SERVICES", 'W'},
    {"S-1-5-83-0", "NT VIRTUAL MACHINE", "Virtual Machines", 'W'},
    {"S-1-5-90-0", "Window Manager", "Window Manager Group", 'W'},
    {"S-1-5-113", "NT AUTHORITY", "Local account", 'W'},
    {"S-1-5-114", "NT AUTHORITY", "Local account and member of Administrators group", 'W'},
    {"S-1-15-2-1", "APPLICATION PACKAGE AUTHORITY", "ALL APPLICATION PACKAGES", 'W'},
    {"S-1-15-2-2", "APPLICATION PACKAGE AUTHORITY", "ALL RESTRICTED APPLICATION PACKAGES", 'W'},
    {"S-1-15-3-1", "APPLICATION PACKAGE AUTHORITY", "Your Internet connection", 'W'},
    {"S-1-15-3-2", "APPLICATION PACKAGE AUTHORITY",
     "Your Internet connection, including incoming connections", 'W'},
    {"S-1-15-3-3", "APPLICATION PACKAGE AUTHORITY", "Your home or work networks", 'W'},
    {"S-1-15-3-4", "APPLICATION PACKAGE AUTHORITY", "Your pictures library", 'W'},
    {"S-1-15-3-5", "APPLICATION PACKAGE AUTHORITY", "Your videos library", 'W'},
    {"S-1-15-3-6", "APPLICATION PACKAGE AUTHORITY", "Your music library", 'W'},
    {"S-1-15-3-7", "APPLICATION PACKAGE AUTHORITY", "Your documents library", 'W'},
    {"S-1-15-3-8", "APPLICATION PACKAGE AUTHORITY", "Your Windows credentials", 'W'},
    {"S-1-15-3-9", "APPLICATION PACKAGE AUTHORITY",
     "Software and hardware certificates or a smart card", 'W'},
    {"S-1-15-3-10", "APPLICATION PACKAGE AUTHORITY", "Removable storage", 'W'},
    {"S-1-15-3-11", "APPLICATION PACKAGE AUTHORITY", "Your Appointments", 'W'},
    {"S-1-15-3-12", "APPLICATION PACKAGE AUTHORITY", "Your Contacts", 'W'},
    {"S-1-18-1", "", "Authentication authority asserted identity", 'W'},
    {"S-1-18-2", "", "Service asserted identity", 'W'},
    {"S-1-5-64-10", "", "NTLM Authentication", 'A'},
    {"S-1-5-64-14", "", "SChannel Authentication", 'A'},
    {"S-1-5-64-21", "", "Digest Authentication", 'A'},
    {"S-1-5-1000", "", "Other Organisation", 'A'},
    {"S-1-16-0", "Mandatory Label", "Untrusted Mandatory Level", 'A'},
    {"S-1-16-8192", "Mandatory Label", "Medium Mandatory Level", 'A'},
    {"S-1-16-8448", "Mandatory Label", "Medium Plus Mandatory Level", 'A'},
    {"S-1-16-16384", "Mandatory Label", "System Mandatory Level", 'A'},
    {"S-1-16-12288", "Mandatory Label", "High Mandatory Level", 'A'},
    {"S-1-16-4096", "Mandatory Label", "Low Mandatory Level", 'A'},
};

constexpr bool TableFits() {
  size_t longest = 0;
  for (const WellKnownSid& row : kWellKnownSids) {
    longest = std::max(longest, std::string_view(row.text).size());
  }
  return longest == kLongestKnownSid;
}
static_assert(TableFits());

// The kinds, from number 1 on; the last one is that of any other letter.
// The order is that of the system's own numbers for kinds of accounts (1 user to 8 unknown).
constexpr std::string_view kKindLetters = "UGDAWRI";
constexpr const char* kKindNames[] = {
    "User",    "Group",  "Domain", "Alias", "Well Known Group", "Deleted Account",
    "Invalid", "Unknown"};
constexpr int kUnknownKind = 8;

// Identifiers of the built-in groups.
constexpr uint32_t kFirstAlias = 544;
// Numbers of the domain "BUILTIN" (S-1-5-32): the first is the administrators; beyond the last the
// system gives out numbers of its own to accounts.
constexpr uint32_t kLastAlias = 1023;

// Domain and name apart, or both as one text.
void PutName(std::string_view account, std::string_view of_domain, std::string& name,
             std::string* domain) {
  if (domain != nullptr) {
    *domain = of_domain;
    name = account;
    return;
  }
  name = of_domain;
  if (!account.empty() && !of_domain.empty()) name += '\\';
  name += account;
}

void Enclose(std::string& text) { text = '(' + text + ')'; }

AccountAnswer AskHost(std::span<const uint8_t> sid) {
  const Host& host = CurrentHost();
  return host.account(host.context, sid);
}

// No row for one that the machine does not know.
void AddAlias(OutputList& list, uint32_t identifier) {
  const std::string text = "S-1-5-32-" + std::to_string(identifier);
  const AccountAnswer answer = AskHost(SidOfText(text));
  if (answer.outcome != AccountAnswer::kFound) return;
  AddListRow(list,
             {Concat({"0x", Hex(identifier, 8)}), text, answer.name, answer.domain,
              std::to_string(answer.kind)},
             kNoOffset);
}

}  // namespace

const WellKnownSid* LookupWellKnownSid(std::string_view text) {
  for (const WellKnownSid& row : kWellKnownSids) {
    if (text == row.text) return &row;
  }
  return nullptr;
}

std::span<const WellKnownSid> WellKnownSidTable() { return kWellKnownSids; }

int AccountKindOfLetter(char letter) {
  const size_t at = kKindLetters.find(letter);
  return at == std::string_view::npos ? kUnknownKind : static_cast<int>(at) + 1;
}

const char* AccountKindName(int kind) {
  return kKindNames[(kind >= 1 && kind <= kUnknownKind ? kind : kUnknownKind) - 1];
}

// The machine is asked first, as it may call a known account otherwise; a name from the table
// is in parentheses then, since nobody confirmed it. A machine that could not be asked gives no
// name.
bool AccountNameOfSid(std::span<const uint8_t> sid, std::string_view text, bool resolve,
                      std::string& name, std::string* domain) {
  PutName("", "", name, domain);
  const size_t length = SidLength(sid);
  if (resolve && length != 0) {
    const AccountAnswer answer = AskHost(sid.first(length));
    if (answer.outcome == AccountAnswer::kFailed) return false;
    if (!answer.name.empty() || !answer.domain.empty()) {
      PutName(answer.name, answer.domain, name, domain);
      return true;
    }
  }
  const bool may_be_known = !text.empty() && text.size() <= kLongestKnownSid;
  const WellKnownSid* known = may_be_known ? LookupWellKnownSid(text) : nullptr;
  const HashedName hashed = known == nullptr ? LookupHashedSid(text) : HashedName();
  if (known == nullptr && hashed.name == nullptr) return false;
  if (known != nullptr) PutName(known->name, known->domain, name, domain);
  if (hashed.name != nullptr) PutName(hashed.name, hashed.domain, name, domain);
  if (!resolve) return true;
  Enclose(name);
  if (domain != nullptr && !domain->empty()) Enclose(*domain);
  return true;
}

bool AsksForName(std::string_view text, bool resolve) {
  return resolve || text.size() <= kLongestKnownSid || LookupHashedSid(text).name != nullptr;
}

bool IsAdministrator(std::string_view sid_text) {
  constexpr std::string_view kSids[] = {"S-1-5-18", "S-1-5-32-544", "S-1-3-0", "S-1-3-1",
                                        "S-1-5-114"};
  if (std::ranges::find(kSids, sid_text) != std::end(kSids)) return true;
  const HashedName hashed = LookupHashedSid(sid_text);
  if (hashed.name != nullptr && std::string_view(hashed.name) == "TrustedInstaller") return true;
  // Of a domain or a machine: the administrator's account, the groups of administrators.
  constexpr std::string_view kNumbers[] = {"500", "512", "518", "519"};
  if (!sid_text.starts_with("S-1-5-21-")) return false;
  const std::string_view number = sid_text.substr(sid_text.rfind('-') + 1);
  return std::ranges::find(kNumbers, number) != std::end(kNumbers);
}

const AccountName& AccountNames::AccountOf(const std::string& sid_text) {
  static const AccountName none;
  if (sid_text.empty() || !AsksForName(sid_text, resolve_)) return none;
  const auto [entry, added] = known_.try_emplace(sid_text);
  AccountName& account = entry->second;
  if (added) {
    const bool later = resolve_ && wanted_ != nullptr;
    if (later) wanted_->push_back(sid_text);
    AccountNameOfSid(SidOfText(sid_text), sid_text, resolve_ && !later, account.name,
                     apart_ ? &account.domain : nullptr);
  }
  return account;
}

void ListBuiltinAliases(OutputList& list) {
  for (uint32_t identifier = kFirstAlias; identifier <= kLastAlias && !StopRequested();
       ++identifier) {
    AddAlias(list, identifier);
  }
}

}  // namespace hivequarry
