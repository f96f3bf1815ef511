#include "ui/live/open_with.h"

#include <shlobj.h>

#include <vector>

#include "ui/draw/win.h"

namespace hivequarry {
namespace {

constexpr wchar_t kApplications[] = L"Software\\Classes\\Applications\\";
constexpr wchar_t kCommand[] = L"\\shell\\open\\command";
// Endings of files for which the system proposes the program at once. Hives mostly have none: for
// those it is in the list of all programs.
constexpr const wchar_t* kEndings[] = {L".dat", L".hve", L".hiv", L".hive"};

// The system knows programs by the names of their files.
std::wstring KeyOf(const std::wstring& program) {
  return kApplications + program.substr(program.find_last_of(L"\\/") + 1);
}

std::wstring CommandOf(const std::wstring& program) { return L"\"" + program + L"\" \"%1\""; }

bool SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
  return RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name, REG_SZ, text.c_str(),
                         static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS;
}

std::wstring CommandNow(const std::wstring& program) {
  const std::wstring key = KeyOf(program) + kCommand;
  // More than the longest command line: a longer text is none of ours.
  std::vector<wchar_t> text(2 * 32768);
  auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
  const LSTATUS status = RegGetValueW(HKEY_CURRENT_USER, key.c_str(), nullptr, RRF_RT_REG_SZ,
                                      nullptr, text.data(), &size);
  return status == ERROR_SUCCESS ? std::wstring(text.data()) : std::wstring();
}

// The command comes last: with it the program is offered.
bool Offer(const std::wstring& program) {
  const std::wstring key = KeyOf(program);
  bool written = SetText(key, L"FriendlyAppName", L"Hivequarry");
  for (const wchar_t* ending : kEndings) {
    written = written && SetText(key + L"\\SupportedTypes", ending, {});
  }
  return written && SetText(key + kCommand, nullptr, CommandOf(program));
}

}  // namespace

bool IsInOpenWith(const std::wstring& program) { return CommandNow(program) == CommandOf(program); }

bool SetInOpenWith(const std::wstring& program, bool offered) {
  if (IsInOpenWith(program) == offered) return true;
  const bool done =
      offered ? Offer(program)
              : RegDeleteTreeW(HKEY_CURRENT_USER, KeyOf(program).c_str()) == ERROR_SUCCESS;
  // The system's folders read it anew only when they are told.
  SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
  return done;
}

}  // namespace hivequarry
