#include "ui/draw/dpi.h"

#include <algorithm>
#include <cwchar>

namespace hivequarry {
namespace {

// Functions of newer systems; null where they are missing, and then one resolution serves all.
struct DpiFunctions {
  UINT(WINAPI* dpi_for_window)(HWND) = nullptr;
  BOOL(WINAPI* parameters_for_dpi)(UINT, UINT, PVOID, UINT, UINT) = nullptr;
};

template <typename Function>
void Load(HMODULE module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// Looked up by name, as older systems lack them; null for those. Asked once.
const DpiFunctions& Functions() {
  static const DpiFunctions functions = [] {
    DpiFunctions found;
    const HMODULE user = GetModuleHandleW(L"user32.dll");
    Load(user, "GetDpiForWindow", found.dpi_for_window);
    Load(user, "SystemParametersInfoForDpi", found.parameters_for_dpi);
    return found;
  }();
  return functions;
}

// As it was when the user logged on.
uint32_t SystemDpi() {
  const HDC screen = GetDC(nullptr);
  const int dpi = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  return static_cast<uint32_t>(dpi);
}

// Of systems that know one resolution alone the font is scaled from that.
LOGFONTW MessageFont(uint32_t dpi) {
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof metrics;
  const auto for_dpi = Functions().parameters_for_dpi;
  if (for_dpi != nullptr &&
      for_dpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, dpi) != FALSE) {
    return metrics.lfMessageFont;
  }
  SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
  LOGFONTW font = metrics.lfMessageFont;
  font.lfHeight = MulDiv(font.lfHeight, static_cast<int>(dpi), static_cast<int>(SystemDpi()));
  return font;
}

}  // namespace

uint32_t DpiOfWindow(HWND window) {
  const auto for_window = Functions().dpi_for_window;
  const uint32_t dpi = for_window != nullptr ? for_window(window) : 0;
  return dpi != 0 ? dpi : SystemDpi();
}

uint32_t TextPercent() {
  DWORD percent = 0;
  DWORD size = sizeof percent;
  const LSTATUS status =
      RegGetValueW(HKEY_CURRENT_USER, L"Software\\Microsoft\\Accessibility", L"TextScaleFactor",
                   RRF_RT_REG_DWORD, nullptr, &percent, &size);
  return status == ERROR_SUCCESS ? std::clamp<uint32_t>(percent, 100, 225) : 100;
}

Fonts MakeFonts(uint32_t dpi) {
  Fonts fonts;
  LOGFONTW font = MessageFont(dpi);
  fonts.text = CreateFontIndirectW(&font);
  LOGFONTW struck = font;
  struck.lfStrikeOut = TRUE;
  fonts.struck = CreateFontIndirectW(&struck);
  LOGFONTW title = font;
  title.lfHeight = MulDiv(font.lfHeight, 8, 5);
  fonts.title = CreateFontIndirectW(&title);
  // None of the system's settings, so the text size that the user chose is applied here. A height
  // below zero is that of the characters, without the room above them.
  LOGFONTW fixed{};
  fixed.lfHeight = -Scale(13, dpi) * static_cast<int>(TextPercent()) / 100;
  fixed.lfCharSet = DEFAULT_CHARSET;
  fixed.lfQuality = font.lfQuality;
  fixed.lfPitchAndFamily = FIXED_PITCH | FF_MODERN;
  std::wcscpy(fixed.lfFaceName, L"Consolas");
  fonts.fixed = CreateFontIndirectW(&fixed);
  return fonts;
}

void FreeFonts(Fonts& fonts) {
  DeleteObject(fonts.text);
  DeleteObject(fonts.struck);
  DeleteObject(fonts.title);
  DeleteObject(fonts.fixed);
  fonts = Fonts();
}

}  // namespace hivequarry
