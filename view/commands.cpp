#include "view/commands.h"

#include <iterator>

#include "view/command_table.h"

namespace hivequarry {
namespace {

// The facts after the needs from kHive on, in their order.
constexpr bool CommandFacts::*kFacts[] = {
    &CommandFacts::hive,         &CommandFacts::logs,       &CommandFacts::replayed,
    &CommandFacts::item,         &CommandFacts::branch,     &CommandFacts::key,
    &CommandFacts::key_cell,     &CommandFacts::root_cell,  &CommandFacts::removable,
    &CommandFacts::hidden_keys,  &CommandFacts::key_path,   &CommandFacts::key_record,
    &CommandFacts::value_record, &CommandFacts::value,      &CommandFacts::edited_value,
    &CommandFacts::edits,        &CommandFacts::value_rows, &CommandFacts::row_selected,
    &CommandFacts::list_rows,    &CommandFacts::findable};
constexpr auto kFirstFact = static_cast<size_t>(Needs::kHive);
static_assert(std::size(kFacts) == static_cast<size_t>(Needs::kRecentHive) - kFirstFact);

// Needs that are one fact each are indexed in the order of the enumeration.
bool HasNeeds(const Command& command, const CommandFacts& facts) {
  switch (command.needs) {
    case Needs::kNothing:
      return true;
    case Needs::kRunning:
      return facts.running || facts.backup || facts.expanding;
    case Needs::kRecentHive:
      return command.number < kCommandRecentHive + facts.recent_hives;
    default:
      return facts.*kFacts[static_cast<size_t>(command.needs) - kFirstFact];
  }
}

// Each row has a number of its own, and what is offered anywhere has a row.
consteval bool TableIsWhole() {
  for (const Command& row : kCommandTable) {
    for (const Command& other : kCommandTable) {
      if (&row != &other && row.number == other.number) return false;
    }
  }
  for (const auto& place : kCommandPlaces) {
    for (const CommandNumber number : place) {
      bool known = number == kGroupGap;
      for (const Command& row : kCommandTable) known = known || row.number == number;
      if (!known) return false;
    }
  }
  return true;
}
static_assert(TableIsWhole());

}  // namespace

std::span<const Command> Commands() { return kCommandTable; }

std::span<const CommandNumber> CommandsIn(CommandPlace place) {
  return kCommandPlaces[static_cast<size_t>(place)];
}

const Command* FindCommand(std::span<const Command> commands, uint32_t number) {
  for (const Command& command : commands) {
    if (command.number == number) return &command;
  }
  return nullptr;
}

bool PassesGuard(Guard guard, const CommandFacts& facts) {
  if (guard == Guard::kNone) return true;
  return !facts.running && !(guard == Guard::kRunningOrBackup && facts.backup);
}

bool IsAvailable(const Command& command, const CommandFacts& facts) {
  return IsOffered(command, facts.evidence) && PassesGuard(command.guard, facts) &&
         HasNeeds(command, facts);
}

}  // namespace hivequarry
