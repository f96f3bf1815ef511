#include "ui/draw/tones.h"

#include <array>
#include <utility>

namespace hivequarry {
namespace {

constexpr int kOurs = -1;  // the system has no such colour

// The system colour that stands for a tone, COLOR_*, in light colours and in high contrast.
struct SystemTones {
  int light;
  int contrast;
};
constexpr std::array<SystemTones, kToneCount> kSystem = {{
    {COLOR_WINDOW, COLOR_WINDOW},                // kWindow
    {COLOR_WINDOWTEXT, COLOR_WINDOWTEXT},        // kText
    {COLOR_BTNFACE, COLOR_BTNFACE},              // kFace
    {COLOR_BTNTEXT, COLOR_BTNTEXT},              // kFaceText
    {COLOR_GRAYTEXT, COLOR_GRAYTEXT},            // kFaint
    {kOurs, COLOR_GRAYTEXT},                     // kPale
    {kOurs, COLOR_WINDOWTEXT},                   // kFound
    {COLOR_HOTLIGHT, COLOR_HOTLIGHT},            // kEdited
    {kOurs, COLOR_WINDOWTEXT},                   // kWarning
    {kOurs, COLOR_WINDOWTEXT},                   // kOnlyA
    {kOurs, COLOR_WINDOWTEXT},                   // kOnlyB
    {kOurs, COLOR_WINDOWTEXT},                   // kDifferent
    {COLOR_HIGHLIGHT, COLOR_HIGHLIGHT},          // kSelection
    {COLOR_HIGHLIGHTTEXT, COLOR_HIGHLIGHTTEXT},  // kSelectionText
    {kOurs, COLOR_WINDOW},                       // kDimmed
    {COLOR_BTNFACE, COLOR_BTNFACE},              // kButton
    {COLOR_BTNFACE, COLOR_BTNFACE},              // kHot
    {COLOR_BTNFACE, COLOR_BTNFACE},              // kPressed
    {COLOR_GRAYTEXT, COLOR_GRAYTEXT},            // kEdge
    {COLOR_HIGHLIGHT, COLOR_HIGHLIGHT},          // kAccent
}};

// What the user chose for programs; light where the system does not know the choice.
bool IsSystemDark() {
  constexpr wchar_t kThemes[] =
      L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";
  DWORD light = 1;
  DWORD size = sizeof light;
  return RegGetValueW(HKEY_CURRENT_USER, kThemes, L"AppsUseLightTheme", RRF_RT_REG_DWORD, nullptr,
                      &light, &size) == ERROR_SUCCESS &&
         light == 0;
}

// False where the system cannot say.
bool IsHighContrast() {
  HIGHCONTRASTW contrast{};
  contrast.cbSize = sizeof contrast;
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) != FALSE &&
         (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

COLORREF AsSystem(uint32_t colour) {
  return RGB(colour >> 16 & 0xFF, colour >> 8 & 0xFF, colour & 0xFF);
}

uint32_t Plain(COLORREF colour) {
  return static_cast<uint32_t>(GetRValue(colour)) << 16 |
         static_cast<uint32_t>(GetGValue(colour)) << 8 | GetBValue(colour);
}

// A part of `strong` in `weak`, in hundredths.
COLORREF Mixed(COLORREF strong, COLORREF weak, int part) {
  const auto mix = [part](int a, int b) { return (a * part + b * (100 - part)) / 100; };
  return RGB(mix(GetRValue(strong), GetRValue(weak)), mix(GetGValue(strong), GetGValue(weak)),
             mix(GetBValue(strong), GetBValue(weak)));
}

COLORREF LightColour(Tone tone) {
  const int system = kSystem[static_cast<size_t>(tone)].light;
  if (system != kOurs) return GetSysColor(system);
  const COLORREF window = GetSysColor(COLOR_WINDOW);
  if (tone == Tone::kPale) return Mixed(GetSysColor(COLOR_WINDOWTEXT), window, 60);
  if (tone == Tone::kDimmed) return Mixed(GetSysColor(COLOR_HIGHLIGHT), window, 25);
  // A window may be dark because somebody made the system's colours so.
  const bool dark = GetRValue(window) + GetGValue(window) + GetBValue(window) < 3 * 128;
  return AsSystem(dark ? ColoursOfTone(tone).dark : ColoursOfTone(tone).light);
}

// Made anew when its tone has another colour.
struct KeptBrush {
  COLORREF colour = 0;
  HBRUSH brush = nullptr;
};

}  // namespace

ColourState& TheColours() {
  static ColourState colours = {.is_system_dark = IsSystemDark, .is_high_contrast = IsHighContrast};
  return colours;
}

bool RenewColours() {
  ColourState& colours = TheColours();
  const bool dark = colours.choice == ColourChoice::kDark ||
                    (colours.choice == ColourChoice::kSystem && colours.is_system_dark());
  const ColourScheme scheme = colours.is_high_contrast() ? ColourScheme::kHighContrast
                              : dark                     ? ColourScheme::kDark
                                                         : ColourScheme::kLight;
  return std::exchange(colours.scheme, scheme) != scheme;
}

bool IsDark() { return TheColours().scheme == ColourScheme::kDark; }

COLORREF ColourOf(Tone tone) {
  switch (TheColours().scheme) {
    case ColourScheme::kDark:
      return AsSystem(ColoursOfTone(tone).dark);
    // The user chose these for being told apart, so no colour of the program's own is among them.
    case ColourScheme::kHighContrast:
      return GetSysColor(kSystem[static_cast<size_t>(tone)].contrast);
    default:
      return LightColour(tone);
  }
}

HBRUSH BrushOf(Tone tone) {
  static std::array<KeptBrush, kToneCount> brushes;
  KeptBrush& kept = brushes[static_cast<size_t>(tone)];
  const COLORREF colour = ColourOf(tone);
  if (kept.brush == nullptr || kept.colour != colour) {
    if (kept.brush != nullptr) DeleteObject(kept.brush);
    kept = {colour, CreateSolidBrush(colour)};
  }
  return kept.brush;
}

uint32_t PlainColourOf(Tone tone) { return Plain(ColourOf(tone)); }

COLORREF SeenColour(COLORREF colour) {
  constexpr double kLeast = 3;  // what the guidelines ask for pictures
  if (!IsDark()) return colour;
  return AsSystem(LiftedFrom(PlainColourOf(Tone::kFace), Plain(colour), kLeast));
}

const wchar_t* ListTheme() { return IsDark() ? L"DarkMode_Explorer" : L"Explorer"; }

}  // namespace hivequarry
