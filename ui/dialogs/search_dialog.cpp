#include "ui/dialogs/search_dialog.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "app/settings.h"
#include "hive/shown_zone.h"
#include "host/host.h"
#include "host/text.h"
#include "reports/key_dates.h"
#include "ui/dialogs/bit_boxes.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/draw/text_size.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/help.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// Lives as long as its dialog.
struct SearchDialog {
  HWND dialog = nullptr;
  SearchPlace place = SearchPlace::kHive;
  // What the two fields hold. A field can't show every byte, so they aren't read from there.
  std::string text;
  std::string hex;
  bool mirroring = false;  // a field is being written by the other one
};

constexpr size_t kDwordDigits = 8;
// Characters that a history keeps of an entry.
constexpr size_t kTextEntry = 64;
constexpr size_t kHexEntry = 130;

struct SettingBox {
  int control;
  bool SearchSettings::*setting;
};
constexpr SettingBox kSearchBoxes[] = {
    {kSearchMatchCase, &SearchSettings::match_case},
    {kSearchMatchLength, &SearchSettings::match_length},
    {kSearchWide, &SearchSettings::wide},
    {kSearchDword, &SearchSettings::dword},
    {kSearchKeyName, &SearchSettings::key_names},
    {kSearchValueName, &SearchSettings::value_names},
    {kSearchValueData, &SearchSettings::value_data},
    {kSearchFreed, &SearchSettings::freed},
    {kSearchWords, &SearchSettings::whole_words},
    {kSearchRegular, &SearchSettings::regular},
};

constexpr auto kRoots = RootBoxes(kSearchMachine);

void Tick(const SearchDialog& state, int control, bool on) {
  CheckDlgButton(state.dialog, control, on ? BST_CHECKED : BST_UNCHECKED);
}
void Enable(const SearchDialog& state, int control, bool on) {
  EnableWindow(GetDlgItem(state.dialog, control), on ? TRUE : FALSE);
}

bool IsHexMode(const SearchDialog& state) { return IsTicked(state.dialog, kSearchHexMode); }
HexFault FaultOf(const SearchDialog& state) { return HexPatternOf(state.hex).fault; }
bool IsNumber(const SearchDialog& state) {
  return HexPatternOf(state.hex).digits.size() == kDwordDigits && FaultOf(state) == HexFault::kNone;
}

// --- the two fields ------------------------------------------------------------------------------

// The text that a field shows; the symbol of a zero character is that character.
std::string PatternOfField(std::wstring shown) {
  // The symbol is what texts for controls have in place of a zero character, which would end them.
  std::ranges::replace(shown, L'\u2400', L'\0');
  return TextOfWide(std::u16string(shown.begin(), shown.end()));
}

// The entry just chosen from the list, which the field shows only afterwards.
std::wstring ChosenText(HWND field) {
  const int chosen = ComboBox_GetCurSel(field);
  const int length = ComboBox_GetLBTextLen(field, chosen);
  if (length < 0) return std::wstring();
  std::wstring text(static_cast<size_t>(length) + 1, L'\0');
  ComboBox_GetLBText(field, chosen, text.data());
  text.resize(static_cast<size_t>(length));
  return text;
}

void ShowField(SearchDialog& state, int field, const std::string& text) {
  state.mirroring = true;
  SetDlgItemTextW(state.dialog, field, WindowText(text).c_str());
  state.mirroring = false;
}

// What is wrong with a regular expression; empty for none, and for any other pattern.
std::string ExpressionFault(const SearchDialog& state) {
  std::string fault;
  if (!IsHexMode(state) && IsTicked(state.dialog, kSearchRegular)) {
    MakeTextPattern(state.text, {false, false, true}, fault);
  }
  return fault;
}

// Below the fields while the user types; empty for a pattern that means something.
std::wstring MessageFor(const SearchDialog& state) {
  const HexFault fault = IsHexMode(state) ? FaultOf(state) : HexFault::kNone;
  if (fault == HexFault::kNone) return WindowText(ExpressionFault(state));
  return fault == HexFault::kOdd ? L"Each byte takes two digits."
                                 : L"Digits are 0 to 9 and A to F.";
}

// What goes with the mode and the digits.
void EnableFor(const SearchDialog& state) {
  const bool hex = IsHexMode(state);
  const bool number = IsNumber(state);
  for (const int control :
       {kSearchText, kSearchMatchCase, kSearchWide, kSearchWords, kSearchRegular}) {
    Enable(state, control, !hex);
  }
  Enable(state, kSearchHex, hex);
  Enable(state, kSearchDword, hex && number);
  // Its box is grey then, and would look as if it still had its say.
  if (!number) Tick(state, kSearchDword, false);
  const std::wstring message = MessageFor(state);
  Enable(state, IDOK, message.empty());
  SetDlgItemTextW(state.dialog, kSearchMessage, message.c_str());
}

// Each field shows the other one's pattern in its own form. Setting a text reports a change too,
// which `mirroring` keeps from coming back.
void MirrorText(SearchDialog& state, const std::wstring& shown) {
  state.text = PatternOfField(shown);
  state.hex = HexOfText(state.text).substr(0, kMaxPattern);
  ShowField(state, kSearchHex, state.hex);
  EnableFor(state);
}

void MirrorHex(SearchDialog& state, const std::wstring& shown) {
  state.hex = PatternOfField(shown);
  const HexPattern hex = HexPatternOf(state.hex);
  state.text = hex.fault == HexFault::kNoDigits ? std::string() : TextOfHex(hex.digits);
  ShowField(state, kSearchText, state.text);
  EnableFor(state);
}

// A text chosen from the list is not yet in the field when that is reported.
void OnField(SearchDialog& state, int field, WORD notice) {
  if (state.mirroring || (notice != CBN_EDITCHANGE && notice != CBN_SELCHANGE)) return;
  const HWND box = GetDlgItem(state.dialog, field);
  const std::wstring shown = notice == CBN_SELCHANGE ? ChosenText(box) : TextOfControl(box);
  field == kSearchText ? MirrorText(state, shown) : MirrorHex(state, shown);
}

// --- histories -----------------------------------------------------------------------------------

History& TextsOf(SearchPlace place) {
  Histories& histories = TheSettings().histories;
  return place == SearchPlace::kHive ? histories.search_texts : histories.registry_texts;
}
History& BytesOf(SearchPlace place) {
  Histories& histories = TheSettings().histories;
  return place == SearchPlace::kHive ? histories.search_bytes : histories.registry_bytes;
}

void FillField(const SearchDialog& state, int field, const History& history) {
  const HWND box = GetDlgItem(state.dialog, field);
  ComboBox_LimitText(box, static_cast<int>(kMaxPattern));
  for (const std::string& used : history) ComboBox_AddString(box, WindowText(used).c_str());
}

void KeepPattern(SearchPlace place, const SearchSettings& settings) {
  if (settings.hex_mode) return AddToHistory(BytesOf(place), settings.hex.substr(0, kHexEntry));
  AddToHistory(TextsOf(place), std::string(FirstUnits(settings.text, kTextEntry)));
}

// --- limits --------------------------------------------------------------------------------------

// An edit for a number of bytes, the limit it sets, and the limit's value while the edit is empty.
struct NumberField {
  int control;
  uint32_t SearchLimits::*bytes;
  uint32_t none;
};
constexpr NumberField kSizes[] = {{kSearchLeast, &SearchLimits::least, 0},
                                  {kSearchMost, &SearchLimits::most, UINT32_MAX}};
// An edit for a time, the limit it sets, and the limit's value while the edit is empty.
struct TimeField {
  int control;
  uint64_t SearchLimits::*time;
  uint64_t none;
  uint64_t after;  // of a second that is meant whole
};
constexpr TimeField kTimes[] = {{kSearchWrittenFrom, &SearchLimits::from, 0, 0},
                                {kSearchWrittenTo, &SearchLimits::to, UINT64_MAX, 9'999'999}};

std::string FieldText(const SearchDialog& state, int control) {
  const std::wstring text = TextOfControl(GetDlgItem(state.dialog, control));
  return TextOfWide(std::u16string(text.begin(), text.end()));
}

// A limit that lets all pass is an empty field; times are those of the zone shown, which the label
// says unless it is UTC.
void ShowLimits(const SearchDialog& state, const SearchLimits& limits) {
  for (const NumberField& field : kSizes) {
    const uint32_t bytes = limits.*field.bytes;
    const std::string text = bytes == field.none ? std::string() : std::to_string(bytes);
    SetDlgItemTextW(state.dialog, field.control, WindowText(text).c_str());
  }
  for (const TimeField& field : kTimes) {
    const uint64_t time = limits.*field.time;
    const std::string text =
        time == field.none ? std::string() : KeyDateText(KeyDateTimeOf(ShownTime(time)));
    SetDlgItemTextW(state.dialog, field.control, WindowText(text).c_str());
  }
  if (ShownZoneNow().kind == ZoneKind::kUtc) return;
  SetDlgItemTextW(state.dialog, kSearchTimes, L"Key wr&itten (zone), from");
}

// False after a message, with the field at fault in focus.
bool ReadLimits(const SearchDialog& state, SearchLimits& limits) {
  const auto refuse = [&state](int control, const std::string& text) {
    ShowMessage(("No number of bytes and no time: " + text).c_str(), kProgramName,
                Icon::kInformation);
    SetFocus(GetDlgItem(state.dialog, control));
    return false;
  };
  for (const NumberField& field : kSizes) {
    const std::string text = FieldText(state, field.control);
    const char* const end = text.data() + text.size();
    uint32_t& bytes = limits.*field.bytes;
    bytes = field.none;
    if (text.empty()) continue;
    const auto [last, error] = std::from_chars(text.data(), end, bytes);
    if (error != std::errc() || last != end) return refuse(field.control, text);
  }
  for (const TimeField& field : kTimes) {
    const std::string text = FieldText(state, field.control);
    KeyDateTime time;
    limits.*field.time = field.none;
    if (text.empty()) continue;
    if (!ReadKeyDate(text, time)) return refuse(field.control, text);
    limits.*field.time = TimeOfShown(FileTimeOf(time)) + field.after;
  }
  return true;
}

// --- start and end -------------------------------------------------------------------------------

bool SearchesFields(const SearchSettings& settings) {
  return settings.key_names || settings.value_names || settings.value_data;
}

// A search that looked nowhere begins with all fields ticked.
void ShowSettings(SearchDialog& state) {
  SearchSettings settings = TheLastSearch().settings;
  if (!SearchesFields(settings)) {
    settings.key_names = settings.value_names = settings.value_data = true;
  }
  state.text = settings.text;
  state.hex = settings.hex;
  ShowField(state, kSearchText, state.text);
  ShowField(state, kSearchHex, state.hex);
  for (const SettingBox& box : kSearchBoxes) Tick(state, box.control, settings.*box.setting);
  ShowLimits(state, settings.limits);
  CheckRadioButton(state.dialog, kSearchTextMode, kSearchHexMode,
                   settings.hex_mode ? kSearchHexMode : kSearchTextMode);
}

// Roots are for the live registry, deleted records and limits for hives; hidden are those of the
// other.
void ShowRoots(const SearchDialog& state) {
  const bool live = state.place == SearchPlace::kRegistry;
  TickBits(state.dialog, kRoots, TheLastSearch().roots);
  for (const BitBox& box : kRoots) {
    ShowWindow(GetDlgItem(state.dialog, box.control), live ? SW_SHOW : SW_HIDE);
  }
  ShowWindow(GetDlgItem(state.dialog, kSearchRoots), live ? SW_SHOW : SW_HIDE);
  constexpr int kOfHives[] = {kSearchFreed,  kSearchLimits,      kSearchLeast,
                              kSearchSizeTo, kSearchMost,        kSearchTimes,
                              kSearchTimeTo, kSearchWrittenFrom, kSearchWrittenTo};
  for (const int control : kOfHives) {
    ShowWindow(GetDlgItem(state.dialog, control), live ? SW_HIDE : SW_SHOW);
  }
}

INT_PTR OnStart(SearchDialog& state) {
  if (state.place == SearchPlace::kRegistry) SetWindowTextW(state.dialog, L"Search Registry");
  FillField(state, kSearchText, TextsOf(state.place));
  FillField(state, kSearchHex, BytesOf(state.place));
  ShowSettings(state);
  ShowRoots(state);
  EnableFor(state);
  SetFocus(GetDlgItem(state.dialog, IsHexMode(state) ? kSearchHex : kSearchText));
  return FALSE;
}

// Without limits, which may be refused: ReadLimits.
SearchSettings SettingsOf(const SearchDialog& state) {
  SearchSettings settings;
  settings.text = state.text;
  settings.hex = state.hex;
  settings.hex_mode = IsHexMode(state);
  for (const SettingBox& box : kSearchBoxes)
    settings.*box.setting = IsTicked(state.dialog, box.control);
  // The box keeps its tick while the mode is text.
  settings.dword &= settings.hex_mode && IsNumber(state);
  return settings;
}

// A search that could find nothing is as a cancelled one. Limits alone are something to look for.
void OnOk(SearchDialog& state) {
  SearchSettings settings = SettingsOf(state);
  const HexFault fault = settings.hex_mode ? FaultOf(state) : HexFault::kNone;
  if (fault != HexFault::kNone) {
    ShowMessage(HexFaultText(fault), kProgramName, Icon::kInformation);
    return;
  }
  if (state.place == SearchPlace::kHive && !ReadLimits(state, settings.limits)) return;
  const bool limited = settings.limits.sized() || settings.limits.timed();
  const uint32_t roots = TickedBits(state.dialog, kRoots);
  const bool nowhere = state.place == SearchPlace::kRegistry && roots == 0;
  const std::string& pattern = settings.hex_mode ? settings.hex : settings.text;
  if ((pattern.empty() && !limited) || !SearchesFields(settings) || nowhere) {
    EndDialog(state.dialog, IDCANCEL);
    return;
  }
  if (!pattern.empty()) KeepPattern(state.place, settings);
  TheLastSearch() = {settings, roots};
  EndDialog(state.dialog, IDOK);
}

void OnCommand(SearchDialog& state, int control, WORD notice) {
  switch (control) {
    case kSearchTextMode:
    case kSearchHexMode:
    case kSearchRegular:
      return EnableFor(state);
    case kSearchText:
    case kSearchHex:
      return OnField(state, control, notice);
    case IDOK:
      return OnOk(state);
    case IDCANCEL:
      EndDialog(state.dialog, IDCANCEL);
      return;
    default:
      return;
  }
}

INT_PTR Route(SearchDialog& state, UINT message, WPARAM first, LPARAM) {
  if (message == WM_HELP) {
    ShowHelp(state.dialog, kHelpSearch);
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  OnCommand(state, LOWORD(first), HIWORD(first));
  return TRUE;
}

constexpr DLGPROC kSearchProcedure = RecordDialogProc<SearchDialog, OnStart, Route>;

}  // namespace

LastSearch& TheLastSearch() {
  static LastSearch last;
  return last;
}

bool AskSearch(HWND owner, SearchPlace place) {
  SearchDialog state;
  state.place = place;
  const ModalTurn turn(owner);
  return ShowDialogBox(GetModuleHandleW(nullptr), L"SEARCHHIVEDLG", owner, kSearchProcedure,
                       reinterpret_cast<LPARAM>(&state)) == IDOK;
}

}  // namespace hivequarry
