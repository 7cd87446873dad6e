#pragma once

#include <memory>
#include <vector>

#include "host/commands/Command.h"

/** Every command of ktr, in the order of the help. */
[[nodiscard]] std::vector<std::unique_ptr<Command>> makeAllCommands();
