#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

#include "host/repair/RepairRun.h"

/**
 * Prints what a repair does: a line for each finding with its remedy, and what is left; or one JSON
 * object at the end. One thread at a time for each object.
 */
class RepairReport {
 public:
  /** Results go to out, what is said about them to err. */
  RepairReport(std::ostream& out, std::ostream& err, bool json)
      : out_(out), err_(err), json_(json) {}

  void add(const Finding& finding);
  void finish(const std::string& recorder, bool dryRun, uint64_t findings,
              const RepairRun::Result& result);

 private:
  std::ostream& out_;
  std::ostream& err_;
  const bool json_;
  nlohmann::ordered_json list_ = nlohmann::ordered_json::array();
};
