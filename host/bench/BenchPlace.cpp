#include "host/bench/BenchPlace.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <limits>
#include <thread>

#include "host/HostError.h"
#include "host/server/OptionFile.h"
#include "host/server/ServerConnection.h"
#include "host/system/UniqueFd.h"

namespace fs = std::filesystem;

namespace {

constexpr auto STANDSTILL = std::chrono::minutes(1);
constexpr const char* DIRTY_PAGES =
    "SELECT VARIABLE_VALUE FROM information_schema.GLOBAL_STATUS "
    "WHERE VARIABLE_NAME='INNODB_BUFFER_POOL_PAGES_DIRTY'";

// False when the number of dirty pages has not fallen for long, or the server does not tell it.
bool comesToRest(ServerConnection& server) {
  using std::chrono::steady_clock;
  long least = std::numeric_limits<long>::max();
  auto fallen = steady_clock::now();
  while (steady_clock::now() - fallen < STANDSTILL) {
    const std::optional<std::string> dirty = server.value(DIRTY_PAGES);
    if (!dirty || dirty == "0") return dirty.has_value();
    if (const long pages = std::stol(*dirty); pages < least) {
      least = pages;
      fallen = steady_clock::now();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

// Of a few dirty pages a server thinks that they can wait.
bool writesAll(ServerConnection& server) {
  if (!server.run("SET GLOBAL innodb_max_dirty_pages_pct=0")) return false;
  const bool written = comesToRest(server);
  return server.run("SET GLOBAL innodb_max_dirty_pages_pct=DEFAULT") && written;
}

StorageRoot madeBelow(const StorageRoot& root) {
  const std::string path = root.path() + "/bench." + std::to_string(getpid());
  std::error_code error;
  fs::create_directories(path, error);
  if (error) {
    throw failure("cannot make " + path + " (" + error.message() + ")",
                  "give a directory that you may write to");
  }
  return StorageRoot::parse(path);
}

}  // namespace

BenchPlace::BenchPlace(HostContext& context, const StorageRoot& root, bool shortForm)
    : context_(context), own_(root), shortForm_(shortForm) {
  context_.openPrivate(own_.root);
}

BenchPlace::~BenchPlace() {
  context_.close();
}

BenchPlace::OwnRoot::OwnRoot(const StorageRoot& below) : root(madeBelow(below)) {}

BenchPlace::OwnRoot::~OwnRoot() {
  std::error_code ignored;
  fs::remove_all(root.path(), ignored);
}

std::string BenchPlace::freshDirectory(const std::string& name) const {
  std::string path = directory() + "/" + name;
  std::error_code error;
  fs::remove_all(path, error);
  fs::create_directories(path, error);
  if (error) throw failure("cannot make " + path, error.message());
  return path;
}

void BenchPlace::sync() const {
  const UniqueFd here(open(directory().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!here || syncfs(here.get()) != 0) {
    throw systemFailure("cannot write to the disk", "see the log of the system");
  }
}

std::string BenchPlace::storageOf(const std::string& recorder) const {
  std::string path = own_.root.recorderDirectory(RecorderName::parse(recorder));
  fs::create_directories(path);
  return path;
}

KTR_DB_handle& BenchPlace::recorder(const std::string& name) const {
  return context_.createRecorder(RecorderName::parse(name));
}

void BenchPlace::writeDownIndex(const KTR_DB_handle& recorder) const {
  const std::string table = std::string(recorder.getName().c_str()) + "." +
                            KTR_DBTable::KTR_TableName[KTR_DBTable::TB_DATA_STREAMS].c_str();
  ServerConnection server;
  if (!server.connectTo(serverPaths().socket(), OptionFile::currentUser()) ||
      !server.run("FLUSH TABLES " + table + " FOR EXPORT") || !server.run("UNLOCK TABLES") ||
      !writesAll(server)) {
    const std::string error = server.error().empty() ? "no progress" : server.error();
    throw failure("the server does not write its rows down (" + error + ")",
                  "see its log in " + directory());
  }
}

pid_t BenchPlace::serverPid() const {
  const std::optional<OtherProcess> server = PrivateServer(serverPaths()).process();
  return server ? server->pid() : 0;
}

const BenchClip& BenchPlace::clip() {
  if (clip_ == nullptr) clip_ = std::make_unique<BenchClip>();
  return *clip_;
}
