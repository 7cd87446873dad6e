// Calls of the program ktr that a crash test ends it at, beside those of FaultCalls. For the module
// ktr_faults alone: in the test programs others see these calls.
#include <dlfcn.h>

#include <cstdlib>
#include <string>

#include "tests/support/FaultCalls.h"

namespace {

template <typename Function>
Function* real(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

int system(const char* command) {
  static auto* const next = real(&system, "system");
  FaultCalls::killIfDue("system", command);
  return next(command);
}

// The client library's, of which no more than the statement matters here.
int mysql_real_query(void* connection, const char* query, unsigned long length) {
  static auto* const next = real(&mysql_real_query, "mysql_real_query");
  const std::string statement(query, length);
  FaultCalls::killIfDue(statement.substr(0, statement.find(' ')).c_str(), statement);
  return next(connection, query, length);
}

}  // extern "C"
#pragma GCC visibility pop
