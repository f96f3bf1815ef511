#include "view/list_commands.h"

#include <algorithm>
#include <charconv>

#include "view/list_command_table.h"

namespace hivequarry {
namespace {

consteval bool NumbersDiffer() {
  for (const ListCommand& row : kListCommandTable) {
    for (const ListCommand& other : kListCommandTable) {
      if (&row != &other && row.number == other.number) return false;
    }
  }
  return true;
}
static_assert(NumbersDiffer());

// Whether what a command works on is there; a command without that is grey.
bool HasNeeds(ListNeeds needs, const ListFacts& facts) {
  switch (needs) {
    case ListNeeds::kNothing:
      return true;
    case ListNeeds::kRows:
      return facts.rows;
    case ListNeeds::kSelection:
      return facts.rows && facts.row_selected;
    case ListNeeds::kFocus:
    case ListNeeds::kRoots:
      return facts.rows && facts.position;
    case ListNeeds::kKeyOfRow:
      return facts.rows && (facts.position || facts.path);
    case ListNeeds::kPieces:
      return facts.rows && facts.source;
    case ListNeeds::kEntry:
      return facts.rows && facts.entry;
    case ListNeeds::kRunning:
      return facts.stoppable;
    case ListNeeds::kAgain:
      return facts.again && facts.hive;
    case ListNeeds::kFiltered:
      return facts.filtered;
    case ListNeeds::kTimes:
      return facts.times;
    case ListNeeds::kPicture:
      return facts.picture;
  }
  return false;
}

}  // namespace

std::span<const ListCommand> ListCommands() { return kListCommandTable; }

const ListCommand* FindListCommand(uint32_t number) {
  for (const ListCommand& command : kListCommandTable) {
    if (command.number == number) return &command;
  }
  return nullptr;
}

bool EntryOfRow(const OutputList& list, uint32_t row, uint32_t& entry) {
  constexpr int kEntryColumn = 1;  // in both kinds
  constexpr int kStateColumn = 6;
  const int kind = ListKindOf(list);
  if (kind != kListLogs && kind != kListLogChanges) return false;
  const bool left = CellText(list, row, kStateColumn).starts_with("left over");
  if (kind == kListLogs && left) return false;
  std::string_view number = CellText(list, row, kEntryColumn);
  // Of "10..12", changes that are told together, the last.
  if (const size_t range = number.find(".."); range != number.npos) number.remove_prefix(range + 2);
  uint32_t read = 0;
  const char* const end = number.data() + number.size();
  const auto [last, error] = std::from_chars(number.data(), end, read);
  if (number.empty() || error != std::errc() || last != end) return false;
  entry = read;
  return true;
}

std::string_view KeyPathOfRow(const OutputList& list, uint32_t row) {
  for (int column = 0; column < ColumnCount(list); ++column) {
    if (ColumnTitle(list, column) != "Key") continue;
    std::string_view path = CellText(list, row, column);
    // Numbered rows begin with "00001, ", or "000001 " in the main window's pane.
    const size_t digits = std::min(path.find_first_not_of("0123456789"), path.size());
    const std::string_view rest = path.substr(digits);
    if (column == 0 && digits >= 5 && rest.starts_with(", ")) path = rest.substr(2);
    if (column == 0 && digits >= 6 && rest.starts_with(' ')) path = rest.substr(1);
    return path;
  }
  return {};
}

bool IsOffered(const ListCommand& command, const ListFacts& facts) {
  return IsListAbout(command.about, facts.kind) && !(facts.evidence && command.writes);
}

bool IsAvailable(const ListCommand& command, const ListFacts& facts) {
  // The guards are those of the main window's commands; they look at these two facts alone.
  CommandFacts guarded;
  guarded.running = facts.busy;
  guarded.backup = facts.backup;
  return IsOffered(command, facts) && PassesGuard(command.guard, guarded) &&
         HasNeeds(command.needs, facts);
}

}  // namespace hivequarry
