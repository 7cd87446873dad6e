#pragma once

#include <nlohmann/json.hpp>
#include <ostream>

#include "host/retain/RetentionRun.h"

/**
 * Prints what was deleted: a line each as it happens and a sum behind them, or one JSON object at
 * the end. One thread at a time for each object.
 */
class RetentionReport {
 public:
  /** Results go to out, what is said about them to err. */
  RetentionReport(std::ostream& out, std::ostream& err, bool json)
      : out_(out), err_(err), json_(json) {}

  void add(const RetentionRun::Deletion& deletion);
  void finish(const std::string& recorder, bool dryRun, const RetentionRun::Result& result);

 private:
  std::ostream& out_;
  std::ostream& err_;
  const bool json_;
  nlohmann::ordered_json list_ = nlohmann::ordered_json::array();
};
