#include "ui/commands/report_commands.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "host/host.h"
#include "live/live_lists.h"
#include "ui/commands/search_commands.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// The last "{8-4-4-4-12}" of a text; empty where there is none.
std::string_view ClassIdIn(std::string_view text) {
  constexpr std::string_view kForm = "{00000000-0000-0000-0000-000000000000}";
  const auto fits = [](char form, char c) {
    const bool digit = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
    return form == '0' ? digit : form == c;
  };
  for (size_t start = text.rfind('{'); start != text.npos;) {
    const std::string_view candidate = text.substr(start, kForm.size());
    if (std::ranges::equal(kForm, candidate, fits)) return candidate;
    start = start == 0 ? text.npos : text.rfind('{', start - 1);
  }
  return {};
}

int KeyColumnOf(const OutputList& list) {
  for (int column = 0; column < ColumnCount(list); ++column) {
    if (ColumnTitle(list, column) == "Key") return column;
  }
  return 0;
}

// Of the row's key; else the one that its data names, as those of a ProgID do.
std::string ClassIdOfRow(const OutputList& list, uint32_t row) {
  std::string_view found = ClassIdIn(CellText(list, row, KeyColumnOf(list)));
  for (int column = 0; column < ColumnCount(list) && found.empty(); ++column) {
    found = ClassIdIn(CellText(list, row, column));
  }
  return std::string(found);
}

}  // namespace

void StartReport(MainWindow& window, Report report) {
  FillListWindow(window, MakeOutputList(InfoOf(report).kind),
                 [&hive = ShownHive(window), &tree = *window.shown->tree,
                  item = SelectedItem(window.shown->pane), report](OutputList& list) {
                   RunReportOnHive(report, hive, tree, item, item != 0, list);
                 });
}

void StartDecoder(MainWindow& window, const DecoderInfo& decoder) {
  FillListWindow(window, MakeOutputList(decoder.kind),
                 [&hive = ShownHive(window), &tree = *window.shown->tree,
                  item = SelectedItem(window.shown->pane),
                  &decoder](OutputList& list) { RunDecoder(decoder, hive, tree, item, list); });
}

void StartLiveReport(MainWindow& window, Report report) {
  FillListWindow(window, MakeOutputList(InfoOf(report).live_kind), [report](OutputList& list) {
    RunReportOnRegistry(report, list);
    ShowStatus("");
  });
}

void OnCopyClassId(ListPlace& place) {
  const uint32_t row = ModelRow(place, static_cast<uint32_t>(FocusedRow(place)));
  const std::string identifier = ClassIdOfRow(*place.model, row);
  const Host& host = CurrentHost();
  if (identifier.empty()) return BeepAtUser();
  host.clipboard(host.context, identifier);
}

}  // namespace hivequarry
