#pragma once

#include <string>
#include <thread>

#include "tests/host_media/TestListener.h"

/**
 * An HTTP server on the loopback interface that answers every request with one file.
 *
 * Owns: its thread; one client at a time.
 * Threads: any thread.
 */
class TestHttpServer {
 public:
  TestHttpServer(const std::string& path, const std::string& contentType);
  TestHttpServer(const TestHttpServer&) = delete;
  TestHttpServer& operator=(const TestHttpServer&) = delete;
  ~TestHttpServer();

  [[nodiscard]] std::string url() const { return "http://" + listener_.address() + "/file"; }

 private:
  void serve(const std::string& answer) const;

  TestListener listener_;
  std::thread thread_;
};
