#include "host/view/ServerReport.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

using nlohmann::json;

namespace {

ServerStatus runningStatus() {
  ServerStatus status;
  status.running = true;
  status.pid = 4711;
  status.socket = "/srv/.ktr/server.sock";
  status.version = "10.11.6-MariaDB";
  status.uptimeSeconds = 3930;
  status.dataBytes = 12897485;
  status.users = {{17, "ktr record --root /srv"}};
  return status;
}

template <typename... Facts>
std::string printed(bool asJson, const Facts&... facts) {
  std::ostringstream out;
  ServerReport(out, asJson).print(facts...);
  return out.str();
}

const std::vector<ServerSetting> SETTINGS = {{"sql_mode", "ANSI", "take it out"},
                                             {"wait_timeout", "86400", ""}};

}  // namespace

TEST(ServerReportTest, TellsOfARunningServer) {
  EXPECT_EQ(
      "Private database server of /srv\n"
      "  running       yes\n"
      "  pid           4711\n"
      "  version       10.11.6-MariaDB\n"
      "  uptime        1h05m30s\n"
      "  socket        /srv/.ktr/server.sock\n"
      "  data          12.3 MiB\n"
      "  stays         while a command uses it\n"
      "  used by       17  ktr record --root /srv\n",
      printed(false, std::string("/srv"), runningStatus()));
}

TEST(ServerReportTest, TellsOfAServerThatDoesNotRun) {
  ServerStatus status;
  status.socket = "/srv/.ktr/server.sock";
  status.startedByHand = true;
  EXPECT_EQ(
      "Private database server of /srv\n"
      "  running       no\n"
      "  socket        /srv/.ktr/server.sock\n"
      "  data          0 B\n"
      "  stays         until ktr server stop\n"
      "  used by       nobody\n",
      printed(false, std::string("/srv"), status));
}

TEST(ServerReportTest, PrintsAStatusAsJson) {
  const json report = json::parse(printed(true, std::string("/srv"), runningStatus()));
  EXPECT_EQ(true, report["running"]);
  EXPECT_EQ(4711, report["pid"]);
  EXPECT_EQ(3930, report["uptimeSeconds"]);
  EXPECT_EQ(12897485, report["dataBytes"]);
  EXPECT_EQ(false, report["startedByHand"]);
  EXPECT_EQ("ktr record --root /srv", report["users"][0]["command"]);
}

TEST(ServerReportTest, SaysWhatToChange) {
  EXPECT_EQ(
      "Database server: here, version 10.11\n"
      "  change  sql_mode                  ANSI\n"
      "          take it out\n"
      "  ok      wait_timeout              86400\n"
      "Change these settings, then restart what uses the server.\n",
      printed(false, std::string("here"), std::string("10.11"), SETTINGS));
}

TEST(ServerReportTest, PrintsSettingsAsJson) {
  const json report =
      json::parse(printed(true, std::string("here"), std::string("10.11"), SETTINGS));
  EXPECT_EQ(false, report["ok"]);
  EXPECT_EQ("take it out", report["settings"][0]["advice"]);
}
