#include "view/list_commands.h"

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
    case ListNeeds::kPieces:
      return facts.rows && facts.source;
    case ListNeeds::kRunning:
      return facts.stoppable;
    case ListNeeds::kAgain:
      return facts.again && facts.hive;
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

bool IsAvailable(const ListCommand& command, const ListFacts& facts) {
  CommandFacts guarded;
  guarded.running = facts.busy;
  guarded.backup = facts.backup;
  return PassesGuard(command.guard, guarded) && IsListAbout(command.about, facts.kind) &&
         HasNeeds(command.needs, facts);
}

}  // namespace hivequarry
