// A toolbar whose buttons are texts. It breaks rows where it is told to: a note has a row of its
// own, and figures have shorter texts where these make one row of them.
#include "ui/main/band.h"

#include <algorithm>
#include <string>
#include <vector>

#include "hive/hive_table.h"
#include "ui/commands/hive_list_commands.h"
#include "ui/draw/text_size.h"
#include "ui/draw/tones.h"
#include "ui/frame/text.h"
#include "ui/frame/tool_buttons.h"
#include "ui/main/layout.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

constexpr int kFirstButton = 1;  // identifiers: a figure, or a note after the figures
constexpr int kTextMargin = 6;   // at both sides of a button's text, at 96 dpi
constexpr int kLineMargin = 3;   // above and below it

size_t PartCount(const HiveGlance& glance) { return glance.figures.size() + glance.notes.size(); }

const GlancePart* PartOf(const Band& band, int button) {
  const auto index = static_cast<size_t>(button - kFirstButton);
  const HiveGlance& glance = band.glance;
  if (button < kFirstButton || index >= PartCount(glance)) return nullptr;
  return index < glance.figures.size() ? &glance.figures[index]
                                       : &glance.notes[index - glance.figures.size()];
}

// What the band may show: the text of each part's button with its width, and the height of a row,
// pixels.
struct BandMeasure {
  std::vector<std::wstring> texts;
  std::vector<int> widths;
  int line = 0;
};
// In the font of the band.
BandMeasure Measure(const MainWindow& window, bool brief) {
  const Band& band = window.band;
  const HFONT font = window.look.fonts.text;
  const int margin = Scale(kTextMargin, window.dpi);
  BandMeasure measure;
  for (size_t i = 0; i < PartCount(band.glance); ++i) {
    const GlancePart& part = *PartOf(band, kFirstButton + static_cast<int>(i));
    measure.texts.push_back(WindowText(brief && !part.brief.empty() ? part.brief : part.text));
    measure.widths.push_back(TextSize(font, measure.texts.back()).cx + 2 * margin);
  }
  measure.line = LineHeight(font) + 2 * Scale(kLineMargin, window.dpi);
  return measure;
}

void RemoveButtons(HWND toolbar) {
  while (SendMessageW(toolbar, TB_DELETEBUTTON, 0, 0) != FALSE) continue;
}

// Where the last row ends: toolbars may make rows lower than they were asked to.
// Where there are no buttons, 0.
int BottomOfRows(HWND toolbar) {
  const auto count = static_cast<WPARAM>(SendMessageW(toolbar, TB_BUTTONCOUNT, 0, 0));
  RECT last{};
  if (count != 0) SendMessageW(toolbar, TB_GETITEMRECT, count - 1, reinterpret_cast<LPARAM>(&last));
  return last.bottom;
}

// `cut`: its text has no room and ends in dots. `wrap`: the last one of its row.
void AddButton(const Band& band, int button, const std::wstring& text, int width, bool cut,
               bool wrap) {
  TBBUTTON made{};
  made.iBitmap = I_IMAGENONE;
  made.idCommand = button;
  made.fsState =
      static_cast<BYTE>(TBSTATE_ENABLED | (cut ? TBSTATE_ELLIPSES : 0) | (wrap ? TBSTATE_WRAP : 0));
  made.fsStyle = BTNS_BUTTON | BTNS_SHOWTEXT | BTNS_NOPREFIX;
  made.iString = reinterpret_cast<INT_PTR>(text.c_str());
  SendMessageW(band.window, TB_ADDBUTTONSW, 1, reinterpret_cast<LPARAM>(&made));
  // TBBUTTON has no width: it is set apart.
  TBBUTTONINFOW info{};
  info.cbSize = sizeof info;
  info.dwMask = TBIF_SIZE;
  info.cx = static_cast<WORD>(width);
  SendMessageW(band.window, TB_SETBUTTONINFOW, static_cast<WPARAM>(button),
               reinterpret_cast<LPARAM>(&info));
}

// Each note has a row of its own.
std::vector<bool> RowStarts(const HiveGlance& glance, const std::vector<int>& widths, int room) {
  std::vector<int> figures(widths.begin(),
                           widths.begin() + static_cast<ptrdiff_t>(glance.figures.size()));
  std::vector<bool> starts = BreaksOf(figures, room);
  starts.insert(starts.end(), glance.notes.size(), true);
  return starts;
}

// All figures in one row where shorter texts make that possible.
BandMeasure FitFigures(const MainWindow& window, int room) {
  const size_t figures = window.band.glance.figures.size();
  const auto rows = [&](const BandMeasure& measure) {
    const std::vector<bool> starts = RowStarts(window.band.glance, measure.widths, room);
    return std::count(starts.begin(), starts.begin() + static_cast<ptrdiff_t>(figures), true);
  };
  // No break: all figures are in one row.
  BandMeasure whole = Measure(window, false);
  if (rows(whole) == 0) return whole;
  BandMeasure brief = Measure(window, true);
  return rows(brief) == 0 ? brief : whole;
}

int HotButton(HWND band) { return static_cast<int>(SendMessageW(band, TB_GETHOTITEM, 0, 0)); }
void SetHot(HWND band, int index) {
  SendMessageW(band, TB_SETHOTITEM, static_cast<WPARAM>(index), 0);
}

Tone ToneOf(GlanceTone tone) {
  switch (tone) {
    case GlanceTone::kMuted:
      return Tone::kPale;
    case GlanceTone::kFound:
      return Tone::kFound;
    case GlanceTone::kWarn:
      return Tone::kWarning;
    default:
      return Tone::kText;
  }
}

}  // namespace

HWND MakeBand(const MainWindow& window, int identifier) {
  const HWND band = MakeToolbarControl(window.handle, identifier, TBSTYLE_LIST | WS_TABSTOP, {});
  if (band == nullptr) return nullptr;
  SetWindowTextW(band, L"State of the hive");  // what a screen reader calls it
  SendMessageW(band, TB_SETBITMAPSIZE, 0, 0);
  ShowWindow(band, SW_HIDE);
  return band;
}

GlanceFacts GlanceNow(const MainWindow& window) {
  GlanceFacts facts = GlanceOf(*window.viewed);
  facts.evidence = window.host.evidence;
  return facts;
}

GlanceFacts GlanceOf(const WindowHive& hive) {
  return {HiveOfSlot(hive.slot), *hive.tree,         hive.summary, hive.survey, hive.hashing.hashes,
          hive.hashing.progress, hive.findings.known};
}

void RenewBand(MainWindow& window) {
  window.band.glance = window.viewed->slot < 0 ? HiveGlance() : GlanceAt(GlanceNow(window));
  window.band.renewed = true;
  const int before = window.band.height;
  if (window.band.width == 0 || FillBand(window, window.band.width) != before) LayOut(window);
  // Bookmarks say what they lead to in the hives of now.
  InvalidateRect(window.bookmarks.list, nullptr, FALSE);
}

int FillBand(MainWindow& window, int width) {
  Band& band = window.band;
  if (!band.renewed && width == band.width) return band.height;
  band.renewed = false;
  band.width = width;
  const BandMeasure measure = FitFigures(window, width);
  const std::vector<bool> starts = RowStarts(band.glance, measure.widths, width);
  // Who goes through the buttons by keys keeps his place among the new ones.
  const int hot = GetFocus() == band.window ? HotButton(band.window) : -1;
  SendMessageW(band.window, WM_SETREDRAW, FALSE, 0);
  RemoveButtons(band.window);
  SendMessageW(band.window, TB_SETBUTTONSIZE, 0, MAKELPARAM(1, measure.line));
  for (size_t i = 0; i < starts.size(); ++i) {
    const bool wrap = i + 1 < starts.size() && starts[i + 1];
    AddButton(band, kFirstButton + static_cast<int>(i), measure.texts[i],
              std::min(measure.widths[i], width), measure.widths[i] > width, wrap);
  }
  if (hot >= 0) SetHot(band.window, hot);
  SendMessageW(band.window, WM_SETREDRAW, TRUE, 0);
  InvalidateRect(band.window, nullptr, TRUE);
  band.height = BottomOfRows(band.window);
  return band.height;
}

void FollowBand(MainWindow& window, int button) {
  const GlancePart* part = PartOf(window.band, button);
  if (part == nullptr || window.shown->slot < 0) return;
  switch (part->lead) {
    case GlanceLead::kState:
      return RunCommand(window, kCommandHiveState);
    case GlanceLead::kLogs:
      return RunCommand(window, kCommandListLogs);
    case GlanceLead::kRoot:
      return RunCommand(window, kCommandHiveRoot);
    case GlanceLead::kKeys:
      return ListAllKeys(window, false);
    case GlanceLead::kDisconnectedKeys:
      return ListAllKeys(window, true);
    case GlanceLead::kDisconnectedValues:
      return RunCommand(window, kCommandListLostValues);
    case GlanceLead::kFreedKeys:
      return RunCommand(window, kCommandListFreedKeys);
    case GlanceLead::kFreedValues:
      return RunCommand(window, kCommandListFreedValues);
    case GlanceLead::kCheck:
      return RunCommand(window, kCommandCheckStructure);
  }
}

void OnBandTip(const Band& band, NMTBGETINFOTIPW& notice) {
  const GlancePart* part = PartOf(band, notice.iItem);
  if (part != nullptr) lstrcpynW(notice.pszText, WindowText(part->tip).c_str(), notice.cchTextMax);
}

LRESULT OnBandDraw(const Band& band, NMTBCUSTOMDRAW& notice) {
  constexpr LRESULT kOwnColours = 0x00800000;  // TBCDRF_USECDCOLORS, which not all headers have
  if (notice.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
  if (notice.nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return CDRF_DODEFAULT;
  const GlancePart* part = PartOf(band, static_cast<int>(notice.nmcd.dwItemSpec));
  if (part == nullptr) return CDRF_DODEFAULT;
  notice.clrText = ColourOf(ToneOf(part->tone));
  notice.clrTextHighlight = notice.clrText;
  return kOwnColours;
}

}  // namespace hivequarry
