#include <windows.h>

#include "host/accounts.h"

namespace hivequarry {
namespace {

constexpr DWORD kTextRoom = 520;

std::string NarrowOf(const wchar_t* text, DWORD length) {
  return TextOfWide({reinterpret_cast<const char16_t*>(text), length});
}

}  // namespace

AccountAnswer LookUpAccount(void*, std::span<const uint8_t> sid) {
  AccountAnswer answer;
  answer.outcome = AccountAnswer::kFailed;
  std::vector<uint8_t> bytes(sid.begin(), sid.end());  // the system's function takes no constants
  if (bytes.empty() || IsValidSid(bytes.data()) == FALSE) return answer;
  wchar_t name[kTextRoom] = {};
  wchar_t domain[kTextRoom] = {};
  DWORD name_length = kTextRoom;
  DWORD domain_length = kTextRoom;
  SID_NAME_USE kind = SidTypeUnknown;
  if (LookupAccountSidW(nullptr, bytes.data(), name, &name_length, domain, &domain_length, &kind) ==
      FALSE) {
    if (GetLastError() == ERROR_NONE_MAPPED) answer.outcome = AccountAnswer::kUnknown;
    return answer;
  }
  answer.outcome = AccountAnswer::kFound;
  answer.name = NarrowOf(name, name_length);
  answer.domain = NarrowOf(domain, domain_length);
  answer.kind = static_cast<int>(kind);
  return answer;
}

}  // namespace hivequarry
