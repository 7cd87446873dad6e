#include "host/HostContext.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "host/HostError.h"
#include "host/server/OptionFile.h"
#include "host/server/ServerConnection.h"
#include "runtime/KTLogger.h"

namespace {

[[noreturn]] void failForNothingRecorded(const std::string& root) {
  throw failure(
      "nothing is recorded under " + root,
      "check --root, or record first: ktr record --root " + root + " --recorder NAME 1=URL");
}

std::string listed(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace

HostContext::HostContext(std::ostream& out, std::ostream& err) : out_(out), err_(err) {}

HostContext::~HostContext() {
  close();
  if (log_) KTLogger::instance()->setSink(nullptr);
}

unsigned int HostContext::outputWidth() {
  constexpr unsigned int usual = 80;
  winsize size{};
  if (!isatty(STDOUT_FILENO) || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return usual;
  return size.ws_col == 0 ? usual : size.ws_col;
}

void HostContext::startLog(bool verbose) {
  log_ = std::make_shared<HostLogSink>(err_, verbose);
  KTLogger::instance()->setSink(log_);
}

void HostContext::open(const CommonOptions& options, Purpose purpose) {
  const StorageRoot root = options.storageRoot();
  if (purpose == Reading && access(root.path().c_str(), F_OK) != 0) {
    failForNothingRecorded(root.path());
  }
  if (options.usesPrivateServer()) {
    openPrivateServer(root, purpose);
  } else {
    checkClientServer();
  }
  factory_ = std::make_unique<KTR_DB_factory>();
}

void HostContext::openPrivate(const StorageRoot& root) {
  openPrivateServer(root, Recording);
  factory_ = std::make_unique<KTR_DB_factory>();
}

void HostContext::openPrivateServer(const StorageRoot& root, Purpose purpose) {
  const ServerPaths paths(root);
  if (purpose == Reading && !paths.exists()) failForNothingRecorded(root.path());
  OptionFile::useInThisProcess(paths);
  lease_.emplace(ServerLease::acquire(paths));
}

void HostContext::checkClientServer() {
  ServerConnection connection;
  if (connection.connectByOptionFiles()) return;
  throw failure("cannot reach the database server (" + connection.error() + ")",
                "check [client] in the MySQL option files, such as ~/.my.cnf, or leave out "
                "--server client");
}

void HostContext::close() {
  for (KTR_DB_handle* handle : handles_) factory_->destroy(handle);
  handles_.clear();
  factory_.reset();
  lease_.reset();
}

std::vector<std::string> HostContext::recorders() {
  const std::string_view prefix = "ktr_";
  KTDLList<KTString> databases;
  factory_->dbList(databases);
  std::vector<std::string> names;
  for (const KTString& database : databases) {
    // The server's pattern takes "_" for any character.
    if (!database.view().starts_with(prefix)) continue;
    names.emplace_back(database.view().substr(prefix.size()));
  }
  std::sort(names.begin(), names.end());
  return names;
}

KTR_DB_handle& HostContext::recorder(const RecorderName& name) {
  const std::vector<std::string> known = recorders();
  if (std::find(known.begin(), known.end(), name.text()) == known.end()) {
    throw failure("there is no recorder '" + name.text() + "'",
                  known.empty() ? "record first, with ktr record"
                                : "the recorders here are " + listed(known));
  }
  return keep(factory_->db_instance(name.text().c_str()), name);
}

KTR_DB_handle* HostContext::findRecorder(const RecorderName& name) {
  const std::vector<std::string> known = recorders();
  const bool found = std::find(known.begin(), known.end(), name.text()) != known.end();
  return found ? &recorder(name) : nullptr;
}

KTR_DB_handle& HostContext::createRecorder(const RecorderName& name) {
  KTR_DB_handle& handle = keep(factory_->createDB(name.text().c_str()), name);
  // Without it, as for an account that may not make one, all goes on, but slower with the years.
  if (handle.isConnected()) (void)handle.recordSessionTable()->indexTimes();
  return handle;
}

KTR_DB_handle& HostContext::keep(KTR_DB_handle* handle, const RecorderName& name) {
  if (handle == nullptr) {
    throw failure("cannot open the database of recorder '" + name.text() + "'",
                  "check that the account may use it, and see the messages above");
  }
  if (std::find(handles_.begin(), handles_.end(), handle) == handles_.end()) {
    handles_.push_back(handle);
  }
  return *handle;
}
