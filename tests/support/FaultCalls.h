#pragma once

#include <string>

/**
 * Breaks this process's calls into the file system: open, close, mkdir, pread, pwrite, ftruncate,
 * unlink and fcntl (where it changes a descriptor's flags) fail, or transfer less than they were
 * asked to. Each fault is noted in FaultLog.
 *
 * The program ktr takes the same faults when the module ktr_faults is preloaded into it: one a line
 * in the variable KTR_FAULTS, as text() writes them. There the error KILL ends the process in place
 * of the call, which may then also be a rename, a command for the shell ("system") or a statement
 * for the server, by its first word ("INSERT") and a text in it.
 *
 * Threads: any thread; one object at a time.
 */
class FaultCalls {
 public:
  static constexpr unsigned int ALWAYS = ~0U;
  /** In place of an errno: SIGKILL, for a pwrite after so many of its bytes. */
  static constexpr int KILL = -1;

  /** Which of the calls that a fault could meet it does meet, counted from 1. */
  struct Turn {
    unsigned int first = 1;
    unsigned int times = 1;
  };

  FaultCalls();
  FaultCalls(const FaultCalls&) = delete;
  FaultCalls& operator=(const FaultCalls&) = delete;
  /** Everything works again. */
  ~FaultCalls() { restore(); }

  /** The call fails with this errno on paths that contain a text. */
  void fail(const std::string& call, const std::string& path, int error, Turn turn) {
    add(text(call, path, error, 0, turn));
  }
  void fail(const std::string& call, const std::string& path, int error) {
    fail(call, path, error, Turn());
  }
  /** A pread or pwrite transfers at most this many bytes. */
  void shorten(const std::string& call, const std::string& path, unsigned int bytes, Turn turn) {
    add(text(call, path, 0, bytes, turn));
  }
  void restore();
  /** How many calls were broken so far. */
  [[nodiscard]] unsigned int count() const;

  /** A fault as one line; error 0 stands for a transfer cut to so many bytes. */
  [[nodiscard]] static std::string text(const std::string& call, const std::string& path, int error,
                                        unsigned int bytes, Turn turn);
  /** For calls that nothing but KILL is made for. */
  static void killIfDue(const char* call, const std::string& what);

 private:
  static void add(const std::string& text);
};
