#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

/** A fixture whose cases see UTC as the local time zone, whatever the machine has. */
class UtcZone : public testing::Test {
 protected:
  UtcZone() {
    if (const char* zone = getenv("TZ")) former_ = zone;
    use("UTC0");
  }
  ~UtcZone() override {
    if (former_) {
      use(former_->c_str());
    } else {
      unsetenv("TZ");
      tzset();
    }
  }

  static void use(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }

 private:
  std::optional<std::string> former_;
};
