#include "host/server/PrivateServer.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "host/HostError.h"
#include "host/input/AsciiText.h"
#include "host/server/LogTail.h"
#include "host/server/OptionFile.h"
#include "host/server/ServerConnection.h"
#include "host/system/ProcessLaunch.h"

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

/** The word of the server's command line that says whose server it is. */
std::string optionFileWord(const ServerPaths& paths) {
  return "--defaults-file=" + paths.optionFile();
}

std::string firstLine(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

unsigned long sizeOfTree(const std::string& directory) {
  unsigned long bytes = 0;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code gone;
    if (!entry->is_regular_file(gone)) continue;
    const auto size = entry->file_size(gone);
    if (!gone) bytes += size;
  }
  return bytes;
}

void removeEarlierAttempts(const std::string& directory, const std::string& prefix) {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
    if (entry.path().filename().string().starts_with(prefix)) fs::remove_all(entry.path(), error);
  }
}

}  // namespace

std::optional<OtherProcess> PrivateServer::process() const {
  const std::optional<long> pid = parseDigits(firstLine(paths_.pidFile()));
  if (!pid) return std::nullopt;
  std::optional<OtherProcess> found = OtherProcess::find(static_cast<pid_t>(*pid));
  if (found && !found->hasArgument(optionFileWord(paths_))) found.reset();
  return found;
}

bool PrivateServer::answers() const {
  ServerConnection connection;
  return connection.connectTo(paths_.socket(), OptionFile::currentUser());
}

void PrivateServer::start(Limit limit) const {
  if (!paths_.exists()) setUp();
  OptionFile::write(paths_);
  const std::optional<OtherProcess> running = process();
  if (running) return awaitAnswer(*running, limit);
  std::error_code ignored;
  fs::remove(paths_.socket(), ignored);
  awaitAnswer(launch(), limit);
}

void PrivateServer::setUp() const {
  // Made beside its place and moved there when whole, so that an interrupted attempt is no server.
  const std::string prefix = "data.new.";
  removeEarlierAttempts(paths_.directory(), prefix);
  const std::string attempt = paths_.directory() + "/" + prefix + std::to_string(getpid());
  const std::string user = OptionFile::currentUser();
  // By force, since the host's own name matters to a server on the network only.
  const ProcessLaunch setup(
      {"mariadb-install-db", "--no-defaults", "--force", "--auth-root-authentication-method=socket",
       "--auth-root-socket-user=" + user, "--user=" + user, "--skip-test-db",
       "--innodb-log-file-size=16M", "--tmpdir=" + paths_.temporaryDirectory(),
       "--datadir=" + attempt},
      paths_.setupLog());
  std::error_code error;
  if (setup.runAndWait() == 0) fs::rename(attempt, paths_.dataDirectory(), error);
  if (error || !paths_.exists()) {
    throw failure("cannot set up the private database server under " + paths_.directory() + " (" +
                      LogTail::read(paths_.setupLog()) + ")",
                  "make room on the disk and see " + paths_.setupLog());
  }
  fs::remove(paths_.setupLog(), error);
}

OtherProcess PrivateServer::launch() const {
  // A fresh log for each run: what a failure quotes from it belongs to this start.
  (void)rename(paths_.errorLog().c_str(), (paths_.errorLog() + ".old").c_str());
  const ProcessLaunch server({"mariadbd", optionFileWord(paths_)}, paths_.errorLog());
  const pid_t pid = server.startDetached();
  // The server writes the same number when it is up; this one closes the gap until then.
  std::ofstream(paths_.pidFile(), std::ios::trunc) << pid << "\n";
  std::optional<OtherProcess> process = OtherProcess::find(pid);
  if (!process) failToStart("ended at once");
  return std::move(*process);
}

void PrivateServer::awaitAnswer(const OtherProcess& server, Limit limit) const {
  const auto deadline = steady_clock::now() + limit;
  while (!answers()) {
    if (server.waitForEnd(milliseconds(10))) failToStart("ended before it was ready");
    // It is left alone: a server that repairs a large index would otherwise never get through.
    if (steady_clock::now() >= deadline) {
      failToStart("was not ready within " + std::to_string(limit.count() / 1000) + " s");
    }
  }
  // The server lets everybody connect who reaches the socket; its directory keeps them away too.
  std::error_code ignored;
  fs::permissions(paths_.socket(), fs::perms(0600), ignored);
}

void PrivateServer::failToStart(const std::string& why) const {
  throw failure(
      "the private database server " + why + " (" + LogTail::read(paths_.errorLog()) + ")",
      "see " + paths_.errorLog() + " and try again");
}

void PrivateServer::stop(Limit limit) const {
  const std::optional<OtherProcess> server = process();
  if (!server) return;
  server->signal(SIGTERM);
  if (!server->waitForEnd(limit)) {
    throw failure(
        "the private database server (pid " + std::to_string(server->pid()) + ") does not stop",
        "wait for it to finish, and see " + paths_.errorLog());
  }
}

bool PrivateServer::startedByHand() const {
  return access(paths_.keepMark().c_str(), F_OK) == 0;
}

void PrivateServer::markStartedByHand(bool byHand) const {
  std::error_code error;
  if (!byHand) {
    fs::remove(paths_.keepMark(), error);
    return;
  }
  if (!std::ofstream(paths_.keepMark())) {
    throw failure("cannot write " + paths_.keepMark(), "make room on the disk");
  }
}

std::vector<ServerStatus::User> PrivateServer::users() const {
  std::vector<ServerStatus::User> users;
  for (const pid_t pid : OtherProcess::withOpenFile(paths_.usersLock())) {
    const std::optional<OtherProcess> user = OtherProcess::find(pid);
    if (user) users.push_back({pid, user->commandLine()});
  }
  return users;
}

ServerStatus PrivateServer::status() const {
  ServerStatus status;
  status.socket = paths_.socket();
  status.dataBytes = sizeOfTree(paths_.dataDirectory());
  status.startedByHand = startedByHand();
  status.users = users();
  const std::optional<OtherProcess> server = process();
  if (!server) return status;
  status.running = true;
  status.pid = server->pid();
  ServerConnection connection;
  if (!connection.connectTo(paths_.socket(), OptionFile::currentUser())) return status;
  status.version = connection.value("SELECT VERSION()").value_or("");
  const auto uptime = connection.value("SHOW GLOBAL STATUS LIKE 'Uptime'", 1);
  status.uptimeSeconds = parseDigits(uptime.value_or("")).value_or(0);
  return status;
}
