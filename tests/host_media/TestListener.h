#pragma once

#include <string>

/**
 * A TCP socket that listens on a free port of the loopback interface.
 *
 * Owns: the socket.
 * Threads: accept() in one thread, the rest in any.
 */
class TestListener {
 public:
  TestListener();
  TestListener(const TestListener&) = delete;
  TestListener& operator=(const TestListener&) = delete;
  ~TestListener();

  /** Blocks for the next client: its socket, or -1 after end(). */
  [[nodiscard]] int accept() const;
  /** Ends accept() for good. */
  void end() const;
  /** "127.0.0.1:PORT". */
  [[nodiscard]] std::string address() const;

  /** Sends all bytes, or as many as the client takes. */
  static void sendAll(int client, const void* bytes, size_t size);

 private:
  int socket_;
};
