#include "ui/frame/system_facts.h"

#include <shlobj.h>

#include "app/settings.h"
#include "ui/draw/win.h"
#include "ui/frame/text.h"

namespace hivequarry {
namespace {

void SetFamily9x(uint32_t minor, SystemFlags& flags) {
  flags.family_9x = minor == 0 || minor == 10;
  flags.windows_95 = minor == 0;
  flags.windows_98 = minor == 10;
  flags.millennium = minor == 90;
}

void SetFamilyNt(uint32_t major, uint32_t minor, SystemFlags& flags) {
  flags.family_nt = true;
  flags.nt3 = major < 4;
  flags.nt4 = major == 4;
  flags.windows_2000 = major == 5 && minor == 0;
  flags.xp_class = major > 5 || (major == 5 && minor != 0);
  flags.vista = major > 5;
}

// The version as it is: other functions tell a program without their own manifest entry less.
SystemFlags CurrentFlags() {
  using Function = LONG(WINAPI*)(OSVERSIONINFOW*);
  OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof version;
  const HMODULE library = GetModuleHandleW(L"ntdll.dll");
  const FARPROC found = library == nullptr ? nullptr : GetProcAddress(library, "RtlGetVersion");
  const auto get_version = reinterpret_cast<Function>(reinterpret_cast<void*>(found));
  if (get_version == nullptr || get_version(&version) != 0) return SystemFlags();
  return FlagsOfVersion(version.dwPlatformId, version.dwMajorVersion, version.dwMinorVersion);
}

std::string ShellFolder(int folder) {
  wchar_t path[MAX_PATH] = L"";
  const HRESULT result = SHGetFolderPathW(nullptr, folder, nullptr, SHGFP_TYPE_CURRENT, path);
  return result == S_OK ? Utf8Name(path) : std::string();
}

using FolderFunction = UINT(WINAPI*)(LPWSTR, UINT);
std::string SystemFolder(FolderFunction function) {
  wchar_t path[MAX_PATH] = L"";
  const UINT length = function(path, MAX_PATH);
  return length == 0 || length >= MAX_PATH ? std::string() : Utf8Name(path);
}

bool IsEmulated() {
  BOOL emulated = FALSE;
  return IsWow64Process(GetCurrentProcess(), &emulated) != FALSE && emulated != FALSE;
}

}  // namespace

SystemFlags FlagsOfVersion(uint32_t platform, uint32_t major, uint32_t minor) {
  SystemFlags flags;
  if (platform == 1) SetFamily9x(minor, flags);
  if (platform == 2) SetFamilyNt(major, minor, flags);
  return flags;
}

SystemFacts ReadSystemFacts() {
  SystemFacts facts;
  facts.flags = CurrentFlags();
  facts.emulated = IsEmulated();
  facts.documents = ShellFolder(CSIDL_PERSONAL);
  facts.profile = ShellFolder(CSIDL_PROFILE);
  facts.windows = SystemFolder(GetWindowsDirectoryW);
  facts.system = SystemFolder(GetSystemDirectoryW);
  return facts;
}

Program& TheProgram() {
  static Program program;
  return program;
}

void NameProgramFiles(const std::string& path, Program& program) {
  program.settings_file = SettingsFileOf(path);
  program.bookmark_file = BookmarkFileOf(path);
  const size_t name = path.find_last_of("\\/");
  const size_t dot = path.rfind('.');
  const bool ending = dot != std::string::npos && (name == std::string::npos || dot > name);
  program.help_file = (ending ? path.substr(0, dot) : path) + ".hlp";
}

}  // namespace hivequarry
