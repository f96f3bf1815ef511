#include "ui/commands/misc_commands.h"

#include <string>

#include "app/settings.h"
#include "hive/hive_table.h"
#include "host/host.h"
#include "ui/commands/handlers.h"
#include "ui/compare/compare_window.h"
#include "ui/dialogs/options_dialog.h"
#include "ui/dialogs/zone_dialog.h"
#include "ui/draw/tones.h"
#include "ui/dress/dress.h"
#include "ui/frame/help.h"
#include "ui/lists/list_dates.h"
#include "ui/lists/value_window.h"
#include "ui/live/open_with.h"
#include "ui/main/freed.h"
#include "ui/main/main_window.h"
#include "ui/main/removed.h"
#include "ui/main/status.h"
#include "ui/main/window_settings.h"
#include "view/hive_zone.h"

namespace hivequarry {
namespace {

constexpr const char* kReloadQuestion =
    "The options of recovery take effect when a hive is loaded.\r\n"
    "Load this one again now ? What was edited in memory is lost.";

// The switches of the window are the options of the same meaning while it is open.
void ReadSwitches(const MainWindow& window, Options& options) {
  options.technical_view = window.view.technical;
  options.cell_details = window.view.cell_details;
  options.detail_pane = window.layout.detail_shown;
}

void SetSwitches(MainWindow& window, const Options& options) {
  if (options.technical_view != window.view.technical) OnTechnicalView(window);
  if (options.cell_details != window.view.cell_details) OnCellDetails(window);
  if (options.detail_pane != window.layout.detail_shown) OnDetailPane(window);
}

void UseColours(ColourChoice choice) {
  TheSettings().colours = TheColours().choice = choice;
  if (RenewColours()) RedressWindows();
}

bool NeedLoad(const Options& a, const Options& b) {
  return a.disconnected_values != b.disconnected_values || a.tolerant_keys != b.tolerant_keys ||
         a.ask_other_roots != b.ask_other_roots || a.code_page_text != b.code_page_text;
}

}  // namespace

void OnHelp(MainWindow& window) { ShowHelp(window.handle, kHelpStart); }
void OnEvidenceMode(MainWindow& window) { SetEvidenceMode(window, !window.host.evidence); }
void OnLegend(MainWindow& window) { ShowHelp(window.handle, kHelpLegend); }

// What shows dates shows them in the new zone, or is made anew.
void OnTimeZone(MainWindow& window) {
  ShownZone of_hive;
  const bool known =
      window.shown->slot >= 0 && ZoneOfHive(ShownHive(window), *window.shown->tree, of_hive);
  ShownZone zone = ShownZoneNow();
  if (!AskZone(window.handle, known ? &of_hive : nullptr, zone)) return;
  SetShownZone(zone);
  TheSettings().time_zone = zone.kind == ZoneKind::kUtc ? "" : ZoneAsText(zone);
  WriteProgramSettings();
  ShowListsInZone(window);
  RenewComparedDates();
  RenewValueWindow();
  if (window.shown->slot < 0) return;
  RenewBand(window);
  RefreshItem(window);
}

void OnOptions(MainWindow& window) {
  const std::wstring program = ProgramPath();
  OptionChoice choice{TheSettings().options, TheSettings().colours, IsInOpenWith(program),
                      !window.host.evidence};
  Options& options = choice.options;
  ReadSwitches(window, options);
  if (!AskOptions(window.handle, choice)) return;
  UseColours(choice.colours);
  if (choice.may_open_with && !SetInOpenWith(program, choice.open_with)) {
    ShowMessage("The registry refused to be written.", kProgramName, Icon::kExclamation);
  }
  const bool load = window.shown->slot >= 0 && NeedLoad(options, TheSettings().options);
  TheSettings().options = options;
  SetSwitches(window, options);
  WriteProgramSettings();  // for the copies of the program that are started from now on
  if (!load) return;
  const Answer answer =
      ShowMessage(kReloadQuestion, kProgramName, Icon::kQuestion, Buttons::kYesNo);
  if (answer == Answer::kYes) ReloadHive(window, window.shown->origin.logs);
}

void OnToolbar(MainWindow& window) {
  TheSettings().toolbar = !TheSettings().toolbar;
  LayOut(window);
}

template <ColourChoice kChoice>
void OnColours(MainWindow&) {
  UseColours(kChoice);
}
template void OnColours<ColourChoice::kSystem>(MainWindow& window);
template void OnColours<ColourChoice::kLight>(MainWindow& window);
template void OnColours<ColourChoice::kDark>(MainWindow& window);

void ReloadHive(MainWindow& window, const LogChoice& logs) {
  if (window.shown->slot < 0 || window.load.thread.joinable() || window.work.thread.joinable())
    return;
  ReloadRequest request{logs, {}, kNoOffset};
  const uint32_t item = SelectedItem(window.shown->pane);
  if (item != kNoItem) {
    request.key_path = LongItemPath(ShownHive(window), *window.shown->tree, item);
    request.key_position = window.shown->tree->items[item].position;
  }
  LetGoOfHive(window);
  LoadAgain(window, request);
}

}  // namespace hivequarry
