#include "host/server/ClientServerCheck.h"

#include "host/input/AsciiText.h"

namespace {

constexpr long DAY_SECONDS = 86400;
constexpr long LONGEST_LOCK_WAIT_SECONDS = 10;
constexpr long LONGEST_CONNECT_SECONDS = 30;
constexpr long LEAST_PACKET_BYTES = 4194304;

long number(const std::string& text) {
  return parseDigits(text).value_or(0);
}

}  // namespace

std::vector<ServerSetting> ClientServerCheck::settings() {
  return {innodb(),          sqlMode(),          waitTimeout(),
          lockWaitTimeout(), maxAllowedPacket(), connectTimeout()};
}

ServerSetting ClientServerCheck::waitTimeout() {
  const std::string value = connection_.value("SELECT @@session.wait_timeout").value_or("");
  if (number(value) >= DAY_SECONDS) return {"wait_timeout", value, ""};
  return {"wait_timeout", value,
          "set wait_timeout = 31536000 in [mariadbd]: the connection of a quiet recorder is cut "
          "after this many seconds"};
}

ServerSetting ClientServerCheck::lockWaitTimeout() {
  const std::string value =
      connection_.value("SELECT @@session.innodb_lock_wait_timeout").value_or("");
  if (number(value) <= LONGEST_LOCK_WAIT_SECONDS) return {"innodb_lock_wait_timeout", value, ""};
  return {"innodb_lock_wait_timeout", value,
          "set innodb_lock_wait_timeout = 5 in [mariadbd]: all streams stand still while one "
          "waits for a lock"};
}

ServerSetting ClientServerCheck::sqlMode() {
  const std::string value = connection_.value("SELECT @@session.sql_mode").value_or("");
  if (value.find("ONLY_FULL_GROUP_BY") != std::string::npos) {
    return {"sql_mode", value,
            "take ONLY_FULL_GROUP_BY out of sql_mode in [mariadbd]: the grouped list of sessions "
            "fails with it"};
  }
  if (value.find("NO_BACKSLASH_ESCAPES") == std::string::npos) return {"sql_mode", value, ""};
  return {"sql_mode", value,
          "take NO_BACKSLASH_ESCAPES out of sql_mode in [mariadbd]: the data of events is written "
          "with backslashes"};
}

ServerSetting ClientServerCheck::maxAllowedPacket() {
  const std::string value = connection_.value("SELECT @@global.max_allowed_packet").value_or("");
  if (number(value) >= LEAST_PACKET_BYTES) return {"max_allowed_packet", value, ""};
  return {"max_allowed_packet", value,
          "set max_allowed_packet = 16M in [mariadbd]: an event with much data does not fit"};
}

ServerSetting ClientServerCheck::innodb() {
  const std::string value =
      connection_.value("SELECT SUPPORT FROM information_schema.ENGINES WHERE ENGINE='InnoDB'")
          .value_or("NO");
  if (value == "YES" || value == "DEFAULT") return {"InnoDB", value, ""};
  return {"InnoDB", value, "enable the storage engine InnoDB: every table of a recorder needs it"};
}

ServerSetting ClientServerCheck::connectTimeout() {
  const unsigned int seconds = connection_.connectTimeout();
  const std::string value = std::to_string(seconds);
  if (seconds >= 1 && seconds <= LONGEST_CONNECT_SECONDS) return {"connect-timeout", value, ""};
  return {"connect-timeout", value,
          "set connect-timeout = 10 in [client]: recording stands still while a server that is "
          "stuck is waited for"};
}
