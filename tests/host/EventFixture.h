#pragma once

#include <gmock/gmock.h>

#include "handles/KTR_DB_factory.h"
#include "host/events/EventCatalog.h"
#include "host/server/ServerLease.h"
#include "tests/host/HostTestRoot.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"

/** A recorder "bell" without events. */
class EventFixture : public testing::Test {
 protected:
  static constexpr unsigned int NOW = 1767348000;

  EventFixture() : handle_(factory_.createDB("bell")) {}
  ~EventFixture() override {
    (void)factory_.db_do_query("DROP DATABASE ktr_bell");
    factory_.destroy(handle_);
  }

  static StoredEvent event(unsigned int sensor, unsigned int time, const std::string& data = "") {
    return {sensor, time, 7, 5, data};
  }
  void add(const StoredEvent& event) { EXPECT_GT(handle_->eventTable()->addRow(event.row()), 0); }

  LogCapture log_;
  ManualClock clock_{NOW};
  ServerLease lease_ = ServerLease::acquire(HostTestRoot::shared().paths());
  KTR_DB_factory factory_;
  KTR_DB_handle* handle_;
  EventCatalog catalog_{"bell"};
};
