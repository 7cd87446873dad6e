#include "host/view/ServerReport.h"

#include <iomanip>
#include <nlohmann/json.hpp>

#include "host/ByteText.h"
#include "host/input/DurationText.h"

using nlohmann::ordered_json;

namespace {

ordered_json asJson(const std::string& root, const ServerStatus& status) {
  ordered_json users = ordered_json::array();
  for (const ServerStatus::User& user : status.users) {
    users.push_back({{"pid", user.pid}, {"command", user.command}});
  }
  return {{"root", root},
          {"running", status.running},
          {"pid", status.pid},
          {"socket", status.socket},
          {"version", status.version},
          {"uptimeSeconds", status.uptimeSeconds},
          {"dataBytes", status.dataBytes},
          {"startedByHand", status.startedByHand},
          {"users", users}};
}

ordered_json asJson(const std::string& place, const std::string& version,
                    const std::vector<ServerSetting>& settings) {
  ordered_json list = ordered_json::array();
  bool ok = true;
  for (const ServerSetting& setting : settings) {
    ok = ok && setting.advice.empty();
    list.push_back({{"name", setting.name}, {"value", setting.value}, {"advice", setting.advice}});
  }
  return {{"place", place}, {"version", version}, {"ok", ok}, {"settings", list}};
}

void printJson(std::ostream& out, const ordered_json& value) {
  // Names of processes may be any bytes.
  out << value.dump(2, ' ', false, ordered_json::error_handler_t::replace) << "\n";
}

}  // namespace

void ServerReport::line(const std::string& name, const std::string& value) const {
  out_ << "  " << std::left << std::setw(14) << name << value << "\n";
}

void ServerReport::print(const std::string& root, const ServerStatus& status) const {
  if (json_) return printJson(out_, asJson(root, status));
  printText(root, status);
}

void ServerReport::printText(const std::string& root, const ServerStatus& status) const {
  out_ << "Private database server of " << root << "\n";
  line("running", status.running ? "yes" : "no");
  if (status.running) {
    line("pid", std::to_string(status.pid));
    line("version", status.version.empty() ? "does not answer" : status.version);
    line("uptime", DurationText::format(status.uptimeSeconds));
  }
  line("socket", status.socket);
  line("data", ByteText::format(status.dataBytes));
  line("stays", status.startedByHand ? "until ktr server stop" : "while a command uses it");
  if (status.users.empty()) line("used by", "nobody");
  for (const ServerStatus::User& user : status.users) {
    line("used by", std::to_string(user.pid) + "  " + user.command);
  }
}

void ServerReport::print(const std::string& place, const std::string& version,
                         const std::vector<ServerSetting>& settings) const {
  if (json_) return printJson(out_, asJson(place, version, settings));
  out_ << "Database server: " << place << ", version " << version << "\n";
  bool ok = true;
  for (const ServerSetting& setting : settings) {
    ok = ok && setting.advice.empty();
    out_ << "  " << (setting.advice.empty() ? "ok      " : "change  ") << std::left << std::setw(26)
         << setting.name << setting.value << "\n";
    if (!setting.advice.empty()) out_ << "          " << setting.advice << "\n";
  }
  out_ << (ok ? "All settings suit a recorder.\n"
              : "Change these settings, then restart what uses the server.\n");
}
