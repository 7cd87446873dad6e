#pragma once

#include <string>
#include <vector>

/**
 * Sees this process's calls into the MySQL client library on their way there, and can keep it from
 * working: for what no server can show, as every blank of a statement, or memory that runs out.
 *
 * Threads: any thread; one object at a time.
 */
class ClientCalls {
 public:
  ClientCalls();
  ClientCalls(const ClientCalls&) = delete;
  ClientCalls& operator=(const ClientCalls&) = delete;
  ~ClientCalls();

  /** Every statement so far, letter for letter. */
  [[nodiscard]] std::vector<std::string> statements() const;
  /** The attempts to connect so far, those of the test's own tools included. */
  [[nodiscard]] unsigned int connects() const;
  /** How many threads have made themselves known to the library so far, and taken their leave. */
  [[nodiscard]] unsigned int threadInits() const;
  [[nodiscard]] unsigned int threadEnds() const;
  void forget();

  /** From now on no connection structure can be initialised. */
  void failInit();
  /** From now on the library calls itself not thread-safe. */
  void denyThreadSafety();
  /** The next statements are not sent but fail with these errors in turn; the socket stays open. */
  void failNextStatements(const std::vector<unsigned int>& errors) {
    failNextStatements("", errors);
  }
  /** As above, of those that begin with words. */
  void failNextStatements(const std::string& words, const std::vector<unsigned int>& errors);
  /** Everything works again. */
  void restore();
};
