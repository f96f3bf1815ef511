// The accounts that SIDs name, by a table that the program carries and by this machine.

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
    {"S-1-5-64-10", "", "NTLM Authentication", 'A'},
    {"S-1-5-64-14", "", "SChannel Authentication", 'A'},
    {"S-1-5-64-21", "", "Digest Authentication", 'A'},
    {"S-1-5-1000", "", "Other Organisation", 'A'},
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
  if (known == nullptr) return false;
  PutName(known->name, known->domain, name, domain);
  if (!resolve) return true;
  Enclose(name);
  if (domain != nullptr && !domain->empty()) Enclose(*domain);
  return true;
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
