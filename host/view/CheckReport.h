#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

#include "host/check/CheckRun.h"

/**
 * Prints what a check has found: a line each as it is found and a sum behind them, or one JSON
 * object at the end. One thread at a time for each object.
 */
class CheckReport {
 public:
  /** Results go to out, what is said about them to err. */
  CheckReport(std::ostream& out, std::ostream& err, bool json)
      : out_(out), err_(err), json_(json) {}

  void add(const Finding& finding);
  void finish(const std::string& recorder, const std::string& level, bool recording,
              const CheckRun::Result& result);

  [[nodiscard]] static nlohmann::ordered_json asJson(const Finding& finding);

 private:
  std::ostream& out_;
  std::ostream& err_;
  const bool json_;
  nlohmann::ordered_json list_ = nlohmann::ordered_json::array();
};
