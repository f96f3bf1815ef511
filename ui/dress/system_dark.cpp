#include "ui/dress/system_dark.h"

namespace hivequarry {
namespace {

// Windows 10 version 1903: with it came the numbers of uxtheme.dll below, which have no names.
constexpr DWORD kFirstBuild = 18362;
constexpr WORD kAllowDarkWindow = 133;
constexpr WORD kSetProgramMode = 135;
constexpr WORD kFlushMenuThemes = 136;
enum ProgramMode : int { kModeDefault = 0, kModeDark = 2 };

// Of dwmapi.dll; the second until version 2004.
constexpr DWORD kDarkTitle = 20;
constexpr DWORD kDarkTitleBefore = 19;

// A control's property: the theme that it was given last; none until the first dark one.
constexpr wchar_t kThemeGiven[] = L"HivequarryTheme";
constexpr INT_PTR kGivenDark = 1;
constexpr INT_PTR kGivenLight = 2;

template <typename Function>
Function Found(HMODULE library, const char* name) {
  if (library == nullptr) return nullptr;
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

// By the function that tells the truth to every program; 0 where it is missing.
DWORD SystemBuild() {
  OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof version;
  const auto ask =
      Found<LONG(WINAPI*)(OSVERSIONINFOW*)>(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion");
  return ask != nullptr && ask(&version) == 0 ? version.dwBuildNumber : 0;
}

// Null where the system has no such function. Other systems that run Windows programs report the
// build of a Windows, but have other functions at these numbers.
template <typename Function>
Function ThemeFunction(WORD number) {
  static const bool there =
      SystemBuild() >= kFirstBuild &&
      GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") == nullptr;
  return there ? Found<Function>(GetModuleHandleW(L"uxtheme.dll"), MAKEINTRESOURCEA(number))
               : nullptr;
}

void AllowDark(HWND window, bool dark) {
  static const auto allow = ThemeFunction<bool(WINAPI*)(HWND, bool)>(kAllowDarkWindow);
  if (allow != nullptr) allow(window, dark);
}

}  // namespace

void SetDarkProgram(bool dark) {
  static const auto set = ThemeFunction<int(WINAPI*)(int)>(kSetProgramMode);
  static const auto flush = ThemeFunction<void(WINAPI*)()>(kFlushMenuThemes);
  if (set != nullptr) set(dark ? kModeDark : kModeDefault);
  if (flush != nullptr) flush();
}

void SetDarkTitle(HWND window, bool dark) {
  using Set = HRESULT(WINAPI*)(HWND, DWORD, const void*, DWORD);
  static const auto set =
      Found<Set>(LoadLibraryExW(L"dwmapi.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32),
                 "DwmSetWindowAttribute");
  AllowDark(window, dark);
  if (set == nullptr) return;
  const BOOL value = dark ? TRUE : FALSE;
  if (FAILED(set(window, kDarkTitle, &value, sizeof value))) {
    set(window, kDarkTitleBefore, &value, sizeof value);
  }
}

bool SetControlTheme(HWND control, bool dark, const wchar_t* dark_theme, const wchar_t* light) {
  const auto given = reinterpret_cast<INT_PTR>(GetPropW(control, kThemeGiven));
  const INT_PTR wanted = dark ? kGivenDark : kGivenLight;
  if (given == 0 && !dark) return false;
  // The control is told of every theme it is given, also of the one it has.
  if (given == wanted) return true;
  SetPropW(control, kThemeGiven, reinterpret_cast<HANDLE>(wanted));
  AllowDark(control, dark);
  SetWindowTheme(control, dark ? dark_theme : light, nullptr);
  return true;
}

}  // namespace hivequarry
