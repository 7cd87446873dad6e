#include "tests/support/MariaDbServer.h"

#include <errmsg.h>
#include <fcntl.h>
#include <mysql.h>
#include <pwd.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <thread>

#include "tests/support/FaultLog.h"
#include "tests/support/FileText.h"

namespace {

std::string program(const std::string& name) {
  for (const char* dir : {"/usr/sbin/", "/usr/bin/", "/usr/local/sbin/", "/usr/local/bin/"}) {
    if (access((dir + name).c_str(), X_OK) == 0) return dir + name;
  }
  throw std::runtime_error("cannot find " + name + ": install mariadb-server");
}

// The child ends with the test, however that ends; its output goes to a file.
pid_t spawn(const std::vector<std::string>& arguments, const std::string& outputPath) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid != 0) return pid;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  const int output = open(outputPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  execv(argv[0], argv.data());
  _exit(127);
}

int awaitEnd(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

// A connection for one statement, which no record of the library's own statements sees.
class Connection {
 public:
  Connection(const std::string& user, const std::string& socket) {
    mysql_init(&mysql_);
    open_ =
        mysql_real_connect(&mysql_, nullptr, user.c_str(), nullptr, nullptr, 0, socket.c_str(), 0);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() { mysql_close(&mysql_); }

  bool open() const { return open_ != nullptr; }
  // The server itself has said no, which waiting does not change.
  bool refused() { return mysql_errno(&mysql_) != 0 && mysql_errno(&mysql_) < CR_MIN_ERROR; }
  std::string error() { return mysql_error(&mysql_); }
  unsigned long id() { return mysql_thread_id(&mysql_); }

  std::vector<MariaDbServer::Row> run(const std::string& sql) {
    if (!open() || mysql_send_query(&mysql_, sql.c_str(), sql.size()) != 0 ||
        mysql_read_query_result(&mysql_) != 0) {
      throw std::runtime_error(sql + ": " + mysql_error(&mysql_));
    }
    return rows();
  }

 private:
  std::vector<MariaDbServer::Row> rows() {
    std::vector<MariaDbServer::Row> all;
    MYSQL_RES* const set = mysql_store_result(&mysql_);
    if (set == nullptr) return all;
    while (MYSQL_ROW row = mysql_fetch_row(set)) {
      const unsigned long* const lengths = mysql_fetch_lengths(set);
      MariaDbServer::Row& texts = all.emplace_back();
      for (unsigned int i = 0; i < mysql_num_fields(set); ++i) {
        texts.push_back(row[i] == nullptr ? "NULL" : std::string(row[i], lengths[i]));
      }
    }
    mysql_free_result(set);
    return all;
  }

  MYSQL mysql_;
  MYSQL* open_;
};

}  // namespace

MariaDbServer& MariaDbServer::instance() {
  static MariaDbServer server;
  return server;
}

MariaDbServer::MariaDbServer() : dir_("/tmp/ktrdb-XXXXXX"), user_(getpwuid(geteuid())->pw_name) {
  if (mkdtemp(dir_.data()) == nullptr) throw std::runtime_error("cannot make " + dir_);
  try {
    install();
    writeOptionFile();
    start();
  } catch (...) {
    kill();
    removeDirectory();
    throw;
  }
}

MariaDbServer::~MariaDbServer() {
  kill();
  removeDirectory();
}

void MariaDbServer::removeDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(dir_, ignored);
}

void MariaDbServer::install() {
  const std::string output = dir_ + "/install.log";
  std::filesystem::create_directory(temporaryFiles());
  const int status = awaitEnd(
      spawn({program("mariadb-install-db"), "--no-defaults", "--force",
             "--datadir=" + dir_ + "/data", "--auth-root-authentication-method=socket",
             "--auth-root-socket-user=" + user_, "--skip-test-db", "--user=" + user_,
             "--tmpdir=" + temporaryFiles(), "--innodb-log-file-size=4M", "--debug-no-sync"},
            output));
  if (status != 0) throw std::runtime_error("mariadb-install-db failed: " + contents(output));
}

void MariaDbServer::writeOptionFile() {
  std::ofstream(dir_ + "/my.cnf") << "[client]\nuser=" << user_ << "\nsocket=" << socketPath()
                                  << "\n";
  setenv("MARIADB_HOME", dir_.c_str(), 1);
  setenv("HOME", dir_.c_str(), 1);  // whose .my.cnf would have the last word
}

std::vector<std::string> MariaDbServer::serverArguments() const {
  return {program("mariadbd"),
          "--no-defaults",
          "--user=" + user_,
          "--datadir=" + dir_ + "/data",
          "--tmpdir=" + temporaryFiles(),
          "--socket=" + socketPath(),
          "--pid-file=" + dir_ + "/pid",
          "--skip-networking",
          "--skip-log-bin",
          "--debug-no-sync",
          "--general-log=1",
          "--general-log-file=" + dir_ + "/general.log",
          "--innodb-buffer-pool-size=8M",
          "--innodb-log-file-size=4M",
          "--innodb-flush-log-at-trx-commit=2",  // a killed server keeps what was committed
          "--aria-pagecache-buffer-size=1M",
          "--key-buffer-size=1M"};
}

void MariaDbServer::start() {
  if (running()) return;
  pid_ = spawn(serverArguments(), dir_ + "/server.log");
  awaitAnswer();
}

void MariaDbServer::awaitAnswer() {
  for (;;) {
    Connection connection(user_, socketPath());
    if (connection.open()) return;
    if (connection.refused()) throw std::runtime_error(connection.error());
    if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
      pid_ = -1;
      throw std::runtime_error("mariadbd ended: " + contents(dir_ + "/server.log"));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

void MariaDbServer::end(int signal) {
  if (!running()) return;
  ::kill(pid_, signal);
  awaitEnd(pid_);
  pid_ = -1;
}

void MariaDbServer::stop() {
  end(SIGTERM);
}

void MariaDbServer::kill() {
  if (running()) FaultLog::note("the server is killed");
  end(SIGKILL);
}

void MariaDbServer::pause() {
  FaultLog::note("the server stands still");
  ::kill(pid_, SIGSTOP);
  paused_ = true;
}

void MariaDbServer::resume() {
  if (!paused_) return;
  paused_ = false;
  FaultLog::note("the server goes on");
  ::kill(pid_, SIGCONT);
}

void MariaDbServer::restart() {
  stop();
  start();
}

void MariaDbServer::exec(const std::string& sql) {
  query(sql);
}

std::vector<MariaDbServer::Row> MariaDbServer::query(const std::string& sql) {
  Connection connection(user_, socketPath());
  ownConnections_.push_back(connection.id());
  return connection.run(sql);
}

std::string MariaDbServer::value(const std::string& sql) {
  const std::vector<Row> rows = query(sql);
  return rows.empty() ? std::string() : rows[0][0];
}

std::string MariaDbServer::createDatabase() {
  const std::string name = "case" + std::to_string(++databases_);
  exec("CREATE DATABASE " + name);
  return name;
}

void MariaDbServer::dropDatabases() {
  for (const Row& row : query("SELECT schema_name FROM information_schema.schemata WHERE "
                              "schema_name NOT IN ('information_schema', 'mysql', "
                              "'performance_schema', 'sys')")) {
    exec("DROP DATABASE `" + row[0] + "`");
  }
}

std::string MariaDbServer::generalLog() const {
  return contents(dir_ + "/general.log");
}

void MariaDbServer::forgetStatements() {
  forgottenBytes_ = generalLog().size();
  ownConnections_.clear();
}

std::vector<std::string> MariaDbServer::statements() const {
  // Time or tabs, connection number, kind of entry, tab, text up to the next entry.
  static const std::regex entry("^(?:[0-9]{6} +[0-9:]+|\t)\t +([0-9]+) ([A-Z][A-Za-z ]*)\t");
  const std::string log = generalLog().substr(forgottenBytes_);
  std::vector<std::string> all;
  bool wanted = false;
  for (size_t start = 0; start < log.size();) {
    const size_t end = std::min(log.find('\n', start), log.size());
    const std::string line = log.substr(start, end - start);
    start = end + 1;
    std::smatch parts;
    if (!std::regex_search(line, parts, entry)) {
      if (wanted) all.back() += "\n" + line;
      continue;
    }
    const bool own =
        std::count(ownConnections_.begin(), ownConnections_.end(), std::stoul(parts[1])) != 0;
    wanted = parts[2] == "Query" && !own;
    if (wanted) all.push_back(parts.suffix());
  }
  return all;
}
