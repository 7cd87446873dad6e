#pragma once

#include <filesystem>
#include <string>

#include "tests/support/MariaDbServer.h"

/**
 * Keeps the test's server from creating a table that is missing, for as long as it lives: a
 * directory stands where the server would put the table's file.
 */
class TableBlock {
 public:
  /** The database exists. */
  TableBlock(const std::string& database, const std::string& table)
      : path_(std::filesystem::path(MariaDbServer::instance().value("SELECT @@datadir")) /
              database / (table + ".ibd")) {
    std::filesystem::create_directory(path_);
  }
  TableBlock(const TableBlock&) = delete;
  TableBlock& operator=(const TableBlock&) = delete;
  ~TableBlock() { std::filesystem::remove(path_); }

 private:
  std::filesystem::path path_;
};
