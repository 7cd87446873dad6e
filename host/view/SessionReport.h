#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "host/SessionCatalog.h"
#include "host/events/StoredEvent.h"

/** Prints the sessions of a recorder. One thread at a time for each object. */
class SessionReport {
 public:
  /** events: those of the time that the sessions span. */
  SessionReport(std::ostream& out, std::string recorder, std::vector<StoredEvent> events = {})
      : out_(out), recorder_(std::move(recorder)), events_(std::move(events)) {}

  /** A table, a timeline and a sum, for a person. */
  void printText(const std::vector<RecordedSession>& sessions, unsigned int width) const;
  /** All of it, for a program. */
  void printJson(const std::vector<RecordedSession>& sessions) const;

 private:
  void printTable(const std::vector<RecordedSession>& sessions) const;
  void printSum(const std::vector<RecordedSession>& sessions) const;

  std::ostream& out_;
  std::string recorder_;
  std::vector<StoredEvent> events_;
};
