#include "host/commands/ServerCommand.h"

#include <CLI/CLI.hpp>

#include "host/HostContext.h"
#include "host/HostError.h"
#include "host/server/ServerControl.h"
#include "host/view/ServerReport.h"

namespace {

constexpr const char* DESCRIPTION = "Start, stop or look at the database server under DIR";

constexpr const char* FOOTER =
    R"(Nobody needs to start or stop it: the server starts with the first command
that uses it and stops with the last, unless it was started here.

Examples:
  ktr server start  --root ~/video              keep it running between commands
  ktr server stop   --root ~/video
  ktr server status --root ~/video
  ktr server status --root ~/video --server client   check a production server)";

}  // namespace

CLI::App* ServerCommand::define(CLI::App& program) {
  CLI::App* command = program.add_subcommand("server", DESCRIPTION);
  command->footer(FOOTER);
  start_ = command->add_subcommand("start", "Start the server, to run until ktr server stop");
  stop_ = command->add_subcommand("stop", "Stop the server, unless a command uses it");
  status_ = command->add_subcommand("status", "Tell whether the server runs, and how it is set");
  for (CLI::App* part : {start_, stop_, status_}) {
    part->group("Commands");
    options_.addDatabaseOptions(*part);
  }
  status_->get_option("--root")->required(false);  // not for --server client
  options_.addJson(*status_);
  stop_->add_flag("--force", force_, "Stop it also while commands use it; they will fail");
  return command;
}

int ServerCommand::run(HostContext& context) {
  if (start_->parsed()) return start(context);
  if (stop_->parsed()) return stop(context);
  if (status_->parsed()) {
    return options_.usesPrivateServer() ? privateStatus(context) : clientStatus(context);
  }
  throw usageError("ktr server needs one word more", "give start, stop or status");
}

int ServerCommand::start(HostContext& context) const {
  if (!options_.usesPrivateServer()) {
    throw usageError("ktr starts only its own server", "leave out --server client");
  }
  const ServerPaths paths(options_.storageRoot());
  if (ServerControl(paths).start() == ServerControl::Changed) {
    context.out() << "The private database server of " << paths.root() << " is running.\n";
  } else {
    context.out() << "The private database server of " << paths.root()
                  << " was running already; it stays until ktr server stop.\n";
  }
  return 0;
}

int ServerCommand::stop(HostContext& context) const {
  if (!options_.usesPrivateServer()) {
    throw usageError("ktr stops only its own server", "leave out --server client");
  }
  const ServerPaths paths(options_.storageRoot());
  const bool stopped = ServerControl(paths).stop(force_) == ServerControl::Changed;
  context.out() << "The private database server of " << paths.root()
                << (stopped ? " has stopped.\n" : " was not running.\n");
  return 0;
}

int ServerCommand::privateStatus(HostContext& context) const {
  const ServerPaths paths(options_.storageRoot());
  const ServerReport report(context.out(), options_.json());
  report.print(paths.root(), ServerControl(paths).status());
  return 0;
}

int ServerCommand::clientStatus(HostContext& context) const {
  ServerConnection connection;
  if (!connection.connectByOptionFiles()) {
    throw failure("cannot reach the database server (" + connection.error() + ")",
                  "check [client] in the MySQL option files, such as ~/.my.cnf");
  }
  const ServerReport report(context.out(), options_.json());
  report.print(connection.place(), connection.value("SELECT VERSION()").value_or("unknown"),
               ClientServerCheck(connection).settings());
  return 0;
}
