#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "host/server/ClientServerCheck.h"
#include "host/server/PrivateServer.h"

/** Prints what is known of a database server, for a person or as JSON. One thread at a time. */
class ServerReport {
 public:
  ServerReport(std::ostream& out, bool json) : out_(out), json_(json) {}

  /** The private server of a storage root. */
  void print(const std::string& root, const ServerStatus& status) const;
  /** A server of the host: where it is, its version and its settings. */
  void print(const std::string& place, const std::string& version,
             const std::vector<ServerSetting>& settings) const;

 private:
  void printText(const std::string& root, const ServerStatus& status) const;
  void line(const std::string& name, const std::string& value) const;

  std::ostream& out_;
  bool json_;
};
