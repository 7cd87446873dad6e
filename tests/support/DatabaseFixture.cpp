#include "tests/support/DatabaseFixture.h"

#include <algorithm>

class DatabaseFixture::Connection : public KTR_MYSQL_api {
 public:
  explicit Connection(const std::string& name) { mysql = db_connect(KTString(name)); }
  ~Connection() override { db_disconnect(); }

  MYSQL* mysql;
};

DatabaseFixture::DatabaseFixture() = default;

DatabaseFixture::~DatabaseFixture() {
  calls.restore();
  nowhere_.reset();
  connection_.reset();
  server.start();
  server.dropDatabases();
}

MYSQL* DatabaseFixture::connection() {
  if (connection_ == nullptr) connection_ = std::make_unique<Connection>(database);
  return connection_->mysql;
}

MYSQL* DatabaseFixture::nowhere() {
  if (nowhere_ == nullptr) nowhere_ = std::make_unique<Connection>("");
  return nowhere_->mysql;
}

void DatabaseFixture::forget() {
  calls.forget();
  log.clear();
}

unsigned int DatabaseFixture::sent(const std::string& statement) const {
  const std::vector<std::string> all = calls.statements();
  return static_cast<unsigned int>(std::count(all.begin(), all.end(), statement));
}

unsigned int DatabaseFixture::sentBeginningWith(const std::string& words) const {
  const std::vector<std::string> all = calls.statements();
  return static_cast<unsigned int>(std::count_if(
      all.begin(), all.end(), [&](const std::string& each) { return each.rfind(words, 0) == 0; }));
}
