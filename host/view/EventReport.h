#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "host/events/StoredEvent.h"

/** Prints the events of a recorder. One thread at a time for each object. */
class EventReport {
 public:
  explicit EventReport(std::ostream& out) : out_(out) {}

  /** A table, for a person. */
  void printTable(const std::vector<StoredEvent>& events) const;
  /** One object with all of them, for a program. */
  void printJson(const std::string& recorder, const std::vector<StoredEvent>& events) const;
  /** One line for a person. */
  void printLine(const StoredEvent& event) const;
  /** One object on one line. */
  void printJsonLine(const StoredEvent& event) const;

  /** Data of plain characters as they are, all other data in hexadecimal digits after "0x". */
  [[nodiscard]] static std::string dataText(const std::string& data);
  /** As the reports have it; "data" has replacement characters where the bytes are no UTF-8. */
  [[nodiscard]] static nlohmann::ordered_json asJson(const StoredEvent& event);

 private:
  std::ostream& out_;
};
