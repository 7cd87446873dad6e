#include "tests/host_media/TestListener.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

TestListener::TestListener() : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      listen(socket_, 1) != 0) {
    throw std::runtime_error("cannot listen");
  }
}

TestListener::~TestListener() {
  close(socket_);
}

int TestListener::accept() const {
  return ::accept(socket_, nullptr, nullptr);
}

void TestListener::end() const {
  shutdown(socket_, SHUT_RDWR);
}

std::string TestListener::address() const {
  sockaddr_in address{};
  socklen_t size = sizeof(address);
  getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
  return "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

void TestListener::sendAll(int client, const void* bytes, size_t size) {
  const char* from = static_cast<const char*>(bytes);
  while (size != 0) {
    const ssize_t n = send(client, from, size, MSG_NOSIGNAL);
    if (n <= 0) return;
    from += n;
    size -= static_cast<size_t>(n);
  }
}
