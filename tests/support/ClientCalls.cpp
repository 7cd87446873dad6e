#include "tests/support/ClientCalls.h"

#include <dlfcn.h>
#include <mysql.h>

#include <cstring>
#include <deque>
#include <mutex>
#include <string_view>

#include "tests/support/FaultLog.h"

namespace {

struct Calls {
  std::mutex mutex;
  std::vector<std::string> statements;
  unsigned int connects = 0;
  unsigned int threadInits = 0;
  unsigned int threadEnds = 0;
  bool recording = false;
  bool initFails = false;
  bool threadSafetyDenied = false;
  std::deque<unsigned int> nextErrors;
  std::string failingWords;  // that the statements of nextErrors begin with
};

Calls& calls() {
  static auto* const all = new Calls;
  return *all;
}

template <typename Function>
Function* real(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// 0, or the error that the statement is to fail with.
unsigned int noteStatement(const char* query, unsigned long length) {
  const std::lock_guard lock(calls().mutex);
  if (calls().recording) calls().statements.emplace_back(query, length);
  const std::string_view statement(query, length);
  if (calls().nextErrors.empty() || !statement.starts_with(calls().failingWords)) return 0;
  const unsigned int error = calls().nextErrors.front();
  calls().nextErrors.pop_front();
  FaultLog::note("error " + std::to_string(error) + " for " + std::string(statement));
  return error;
}

bool initFails() {
  const std::lock_guard lock(calls().mutex);
  return calls().initFails;
}

void noteConnect() {
  const std::lock_guard lock(calls().mutex);
  if (calls().recording) ++calls().connects;
}

void noteThread(unsigned int Calls::*count) {
  const std::lock_guard lock(calls().mutex);
  if (calls().recording) ++(calls().*count);
}

}  // namespace

// The test program's definitions come before the client library's own for every caller, provided
// that they can be seen.
#pragma GCC visibility push(default)
extern "C" {

MYSQL* STDCALL mysql_init(MYSQL* mysql) {
  static auto* const next = real(&mysql_init, "mysql_init");
  return initFails() ? nullptr : next(mysql);
}

unsigned int STDCALL mysql_thread_safe(void) {
  const std::lock_guard lock(calls().mutex);
  return calls().threadSafetyDenied ? 0 : 1;
}

MYSQL* STDCALL mysql_real_connect(MYSQL* mysql, const char* host, const char* user,
                                  const char* passwd, const char* db, unsigned int port,
                                  const char* unix_socket, unsigned long clientflag) {
  static auto* const next = real(&mysql_real_connect, "mysql_real_connect");
  noteConnect();
  return next(mysql, host, user, passwd, db, port, unix_socket, clientflag);
}

my_bool STDCALL mysql_thread_init(void) {
  static auto* const next = real(&mysql_thread_init, "mysql_thread_init");
  noteThread(&Calls::threadInits);
  return next();
}

void STDCALL mysql_thread_end(void) {
  static auto* const next = real(&mysql_thread_end, "mysql_thread_end");
  noteThread(&Calls::threadEnds);
  next();
}

int STDCALL mysql_real_query(MYSQL* mysql, const char* query, unsigned long length) {
  static auto* const next = real(&mysql_real_query, "mysql_real_query");
  const unsigned int error = noteStatement(query, length);
  if (error == 0) return next(mysql, query, length);
  mysql->net.last_errno = error;
  std::strcpy(mysql->net.last_error, "injected");
  return -1;
}

}  // extern "C"
#pragma GCC visibility pop

ClientCalls::ClientCalls() {
  forget();
  const std::lock_guard lock(calls().mutex);
  calls().recording = true;
}

ClientCalls::~ClientCalls() {
  restore();
  const std::lock_guard lock(calls().mutex);
  calls().recording = false;
}

void ClientCalls::restore() {
  const std::lock_guard lock(calls().mutex);
  calls().initFails = calls().threadSafetyDenied = false;
  calls().nextErrors.clear();
}

std::vector<std::string> ClientCalls::statements() const {
  const std::lock_guard lock(calls().mutex);
  return calls().statements;
}

unsigned int ClientCalls::connects() const {
  const std::lock_guard lock(calls().mutex);
  return calls().connects;
}

unsigned int ClientCalls::threadInits() const {
  const std::lock_guard lock(calls().mutex);
  return calls().threadInits;
}

unsigned int ClientCalls::threadEnds() const {
  const std::lock_guard lock(calls().mutex);
  return calls().threadEnds;
}

void ClientCalls::forget() {
  const std::lock_guard lock(calls().mutex);
  calls().statements.clear();
  calls().connects = calls().threadInits = calls().threadEnds = 0;
}

void ClientCalls::failInit() {
  const std::lock_guard lock(calls().mutex);
  calls().initFails = true;
}

void ClientCalls::denyThreadSafety() {
  const std::lock_guard lock(calls().mutex);
  calls().threadSafetyDenied = true;
}

void ClientCalls::failNextStatements(const std::string& words,
                                     const std::vector<unsigned int>& errors) {
  const std::lock_guard lock(calls().mutex);
  calls().failingWords = words;
  calls().nextErrors.assign(errors.begin(), errors.end());
}
