#include "tests/host_media/TestHttpServer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

TestHttpServer::TestHttpServer(const std::string& path, const std::string& contentType) {
  std::ostringstream answer;
  answer << "HTTP/1.0 200 OK\r\nContent-Type: " << contentType << "\r\n\r\n"
         << std::ifstream(path).rdbuf();
  thread_ = std::thread([this, text = answer.str()] { serve(text); });
}

TestHttpServer::~TestHttpServer() {
  listener_.end();
  thread_.join();
}

void TestHttpServer::serve(const std::string& answer) const {
  for (int client = 0; (client = listener_.accept()) >= 0;) {
    char request[4096];
    if (recv(client, request, sizeof(request), 0) > 0) {
      TestListener::sendAll(client, answer.data(), answer.size());
    }
    close(client);
  }
}
