#include "host/server/OptionFile.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "host/HostError.h"

namespace {

// The decision behind every setting of the server: what is recorded cannot be made again, the index
// can, so the index must not slow the recording down or take its memory.
constexpr const char* SERVER_SETTINGS = R"(
# Reached through the socket above by this user only: no network, so no names to resolve.
skip-networking
skip-name-resolve

# The index can be rebuilt from the files, so a commit need not wait for the disk: a crash of the
# server loses nothing, a power failure at most the index of the last second.
innodb_flush_log_at_trx_commit = 2
# Nothing is replicated.
skip-log-bin
# Deletions run beside the recordings: this log and the pool below were measured with them.
innodb_log_file_size = 96M
innodb_buffer_pool_dump_at_shutdown = off
innodb_buffer_pool_load_at_startup = off
performance_schema = off
key_buffer_size = 1M
aria_pagecache_buffer_size = 8M
max_connections = 100

# A recorder that is silent for days keeps its connection: the longest time there is.
wait_timeout = 31536000
interactive_timeout = 31536000
# A writer waits for a row lock with every other stream behind it: give up soon and try again.
innodb_lock_wait_timeout = 5
# A client that does not finish its greeting is dropped.
connect_timeout = 10
# The server's own default, fixed here. ONLY_FULL_GROUP_BY must stay out: the grouped list of
# sessions picks columns that are not grouped.
sql_mode = STRICT_TRANS_TABLES,ERROR_FOR_DIVISION_BY_ZERO,NO_AUTO_CREATE_USER,NO_ENGINE_SUBSTITUTION
)";

constexpr unsigned int LEAST_POOL_MIB = 64;
constexpr unsigned int MOST_POOL_MIB = 1024;
constexpr unsigned int POOL_SHARE = 32;  // of the machine's memory

std::uint64_t machineMemory() {
  return static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) *
         static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::string poolSetting() {
  return "\n# A small part of the machine's memory, for players that come to an index of millions "
         "of rows.\n"
         "innodb_buffer_pool_size = " +
         std::to_string(OptionFile::bufferPoolMiB(machineMemory())) + "M\n";
}

std::string clientPart(const ServerPaths& paths, const std::string& user) {
  return "# Written by ktr at every start of this private database server: changes here are lost.\n"
         "[client]\n"
         "# The socket, whatever a file of the whole machine says. The account has no password: "
         "the\n"
         "# server asks the kernel who is at the other end of the socket.\n"
         "host = localhost\n"
         "protocol = SOCKET\n"
         "socket = " +
         paths.socket() + "\nuser = " + user +
         "\npassword =\n"
         "# Do not wait for ever for a server that is stuck.\n"
         "connect-timeout = 10\n";
}

std::string serverPart(const ServerPaths& paths, bool runAsRoot) {
  std::string text = "\n[mariadbd]\ndatadir = " + paths.dataDirectory() +
                     "\ntmpdir = " + paths.temporaryDirectory() + "\nsocket = " + paths.socket() +
                     "\npid-file = " + paths.pidFile() + "\nlog-error = " + paths.errorLog() + "\n";
  if (runAsRoot) text += "# The server refuses to run as root unless it is told to.\nuser = root\n";
  return text + SERVER_SETTINGS + poolSetting();
}

}  // namespace

std::string OptionFile::text(const ServerPaths& paths, const std::string& user, bool runAsRoot) {
  return clientPart(paths, user) + serverPart(paths, runAsRoot);
}

unsigned int OptionFile::bufferPoolMiB(std::uint64_t memoryBytes) {
  const std::uint64_t share = (memoryBytes / POOL_SHARE) >> 20;
  return static_cast<unsigned int>(std::clamp<std::uint64_t>(share, LEAST_POOL_MIB, MOST_POOL_MIB));
}

void OptionFile::write(const ServerPaths& paths) {
  const std::string fresh = paths.optionFile() + ".new";
  std::ofstream file(fresh, std::ios::trunc);
  file << text(paths, currentUser(), geteuid() == 0);
  file.close();
  // The client library does not read an option file that everybody may write.
  std::error_code error;
  std::filesystem::permissions(fresh, std::filesystem::perms(0600), error);
  if (!file || error || rename(fresh.c_str(), paths.optionFile().c_str()) != 0) {
    throw failure("cannot write " + paths.optionFile(), "make room on the disk");
  }
}

void OptionFile::useInThisProcess(const ServerPaths& paths) {
  // The library reads $MARIADB_HOME/my.cnf, and after it ~/.my.cnf, which could lead elsewhere.
  // NOLINTBEGIN(concurrency-mt-unsafe): the program has one thread yet
  setenv("MARIADB_HOME", paths.directory().c_str(), 1);
  setenv("HOME", paths.directory().c_str(), 1);
  // NOLINTEND(concurrency-mt-unsafe)
}

std::string OptionFile::currentUser() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): only this asks, before any session is opened
  const passwd* account = getpwuid(geteuid());
  if (account == nullptr) {
    throw failure("user number " + std::to_string(geteuid()) + " has no name on this machine",
                  "give it one in /etc/passwd, or use --server client");
  }
  return account->pw_name;
}
