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

// 5.0 is Windows 2000, 5.1 and 5.2 are XP and 2003, 6.0 Vista; later ones count as these.
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
  facts.roaming = ShellFolder(CSIDL_APPDATA);
  facts.windows = SystemFolder(GetWindowsDirectoryW);
  facts.system = SystemFolder(GetSystemDirectoryW);
  return facts;
}

Program& TheProgram() {
  static Program program;
  return program;
}

bool CanWriteIn(const std::string& folder) {
  const std::string file = SettingsFileOf(folder);
  const DWORD settings = GetFileAttributesW(WideName(file).c_str());
  if (settings != INVALID_FILE_ATTRIBUTES && (settings & FILE_ATTRIBUTE_READONLY) != 0) {
    return false;
  }
  const std::wstring name =
      WideName(folder + "hivequarry-" + std::to_string(GetCurrentProcessId()) + ".tmp");
  const HANDLE made = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (made == INVALID_HANDLE_VALUE) return false;
  CloseHandle(made);
  return true;
}

void UseProfile(const std::string& path, Program& program) {
  const std::string folder = FolderOfFiles(path, false, program.facts.roaming);
  CreateDirectoryW(WideName(folder).c_str(), nullptr);
  program.settings_file = SettingsFileOf(folder);
  program.bookmark_file = BookmarkFileOf(folder);
  // What is there already is the user's own and stays.
  CopyFileW(WideName(SettingsFileOf(path)).c_str(), WideName(program.settings_file).c_str(), TRUE);
  CopyFileW(WideName(BookmarkFileOf(path)).c_str(), WideName(program.bookmark_file).c_str(), TRUE);
  for (const std::string& file : {program.settings_file, program.bookmark_file}) {
    SetFileAttributesW(WideName(file).c_str(), FILE_ATTRIBUTE_NORMAL);
  }
}

void NameProgramFiles(const std::string& path, Program& program) {
  program.settings_file = SettingsFileOf(path);
  program.bookmark_file = BookmarkFileOf(path);
  const std::string beside = FolderOfFiles(path, true, {});
  if (!program.facts.roaming.empty() && !CanWriteIn(beside)) UseProfile(path, program);
  const size_t name = path.find_last_of("\\/");
  const size_t dot = path.rfind('.');
  const bool ending = dot != std::string::npos && (name == std::string::npos || dot > name);
  program.help_file = (ending ? path.substr(0, dot) : path) + ".hlp";
}

}  // namespace hivequarry
