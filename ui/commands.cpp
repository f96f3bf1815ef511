#include "ui/commands.h"

namespace hivequarry {
namespace {

bool HasNeeds(Needs needs, const CommandFacts& facts) {
  switch (needs) {
    case Needs::kNothing:
      return true;
    case Needs::kHive:
      return facts.hive;
    case Needs::kItem:
      return facts.item;
    case Needs::kBranch:
      return facts.branch;
    case Needs::kKey:
      return facts.key;
    case Needs::kValue:
      return facts.value;
    case Needs::kRunning:
      return facts.running || facts.backup;
  }
  return false;
}

}  // namespace

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
  return PassesGuard(command.guard, facts) && HasNeeds(command.needs, facts);
}

}  // namespace hivequarry
