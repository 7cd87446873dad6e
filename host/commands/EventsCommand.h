#pragma once

#include <optional>
#include <string>

#include "host/CommonOptions.h"
#include "host/commands/Command.h"
#include "host/events/EventCatalog.h"

/** ktr events: adds, lists and watches the events of a recorder. */
class EventsCommand : public Command {
 public:
  [[nodiscard]] CLI::App* define(CLI::App& program) override;
  [[nodiscard]] bool verbose() const override { return options_.verbose(); }
  [[nodiscard]] int run(HostContext& context) override;

 private:
  void defineAdd(CLI::App& command);
  void defineList(CLI::App& command);
  void defineWatch(CLI::App& command);
  [[nodiscard]] StoredEvent checkedEvent() const;
  [[nodiscard]] EventCatalog::Query checkedQuery() const;
  [[nodiscard]] std::optional<unsigned int> sensor() const;

  int add(HostContext& context);
  void confirm() const;
  int list(HostContext& context);
  int watch(HostContext& context);
  [[nodiscard]] EventCatalog open(HostContext& context);

  CommonOptions options_;
  CLI::App* add_ = nullptr;
  CLI::App* list_ = nullptr;
  CLI::App* watch_ = nullptr;
  std::string sensor_;
  std::string type_;
  std::string id_ = "0";
  std::string at_ = "now";
  std::string data_;
  std::string from_;
  std::string length_;
  std::string stream_;
  bool confirm_ = false;
  bool newestFirst_ = false;
};
