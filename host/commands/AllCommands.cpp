#include "host/commands/AllCommands.h"

#include "host/commands/BenchCommand.h"
#include "host/commands/CheckCommand.h"
#include "host/commands/EventsCommand.h"
#include "host/commands/PlayCommand.h"
#include "host/commands/RecordCommand.h"
#include "host/commands/RepairCommand.h"
#include "host/commands/RetainCommand.h"
#include "host/commands/ServerCommand.h"
#include "host/commands/SessionsCommand.h"

std::vector<std::unique_ptr<Command>> makeAllCommands() {
  std::vector<std::unique_ptr<Command>> commands;
  commands.push_back(std::make_unique<RecordCommand>());
  commands.push_back(std::make_unique<SessionsCommand>());
  commands.push_back(std::make_unique<PlayCommand>());
  commands.push_back(std::make_unique<EventsCommand>());
  commands.push_back(std::make_unique<RetainCommand>());
  commands.push_back(std::make_unique<CheckCommand>());
  commands.push_back(std::make_unique<RepairCommand>());
  commands.push_back(std::make_unique<ServerCommand>());
  commands.push_back(std::make_unique<BenchCommand>());
  return commands;
}
