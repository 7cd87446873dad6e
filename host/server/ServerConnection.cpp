#include "host/server/ServerConnection.h"

#include <memory>

ServerConnection::ServerConnection() {
  mysql_init(&mysql_);
}

ServerConnection::~ServerConnection() {
  mysql_close(&mysql_);
}

bool ServerConnection::connectTo(const std::string& socket, const std::string& user) {
  const unsigned int protocol = MYSQL_PROTOCOL_SOCKET;
  const unsigned int seconds = 5;
  mysql_options(&mysql_, MYSQL_OPT_PROTOCOL, &protocol);
  mysql_options(&mysql_, MYSQL_OPT_CONNECT_TIMEOUT, &seconds);
  return connect(user.c_str(), socket.c_str());
}

bool ServerConnection::connectByOptionFiles() {
  mysql_options(&mysql_, MYSQL_READ_DEFAULT_GROUP, "");
  return connect(nullptr, nullptr);
}

bool ServerConnection::connect(const char* user, const char* socket) {
  connected_ =
      mysql_real_connect(&mysql_, nullptr, user, nullptr, nullptr, 0, socket, 0) != nullptr;
  if (!connected_) error_ = mysql_error(&mysql_);
  return connected_;
}

bool ServerConnection::run(const std::string& statement) {
  if (!connected_) return false;
  const bool done = mysql_real_query(&mysql_, statement.data(), statement.size()) == 0;
  if (!done) error_ = mysql_error(&mysql_);
  return done;
}

std::optional<std::string> ServerConnection::value(const std::string& query, unsigned int column) {
  if (!connected_ || mysql_real_query(&mysql_, query.data(), query.size()) != 0) {
    return std::nullopt;
  }
  const std::unique_ptr<MYSQL_RES, decltype(&mysql_free_result)> result(mysql_store_result(&mysql_),
                                                                        &mysql_free_result);
  if (!result || column >= mysql_num_fields(result.get())) return std::nullopt;
  MYSQL_ROW row = mysql_fetch_row(result.get());
  if (row == nullptr || row[column] == nullptr) return std::nullopt;
  return row[column];
}

unsigned int ServerConnection::connectTimeout() {
  unsigned int seconds = 0;
  mysql_get_option(&mysql_, MYSQL_OPT_CONNECT_TIMEOUT, &seconds);
  return seconds;
}

std::string ServerConnection::place() {
  return connected_ ? mysql_get_host_info(&mysql_) : std::string();
}
