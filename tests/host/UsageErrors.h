#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "host/HostError.h"

/** Runs something that must throw a HostError of a status; its text, which has one line. */
template <typename Action>
std::string errorOf(HostError::Status status, Action action) {
  try {
    (void)action();
  } catch (const HostError& error) {
    EXPECT_EQ(status, error.status()) << error.what();
    EXPECT_THAT(error.what(), testing::Not(testing::HasSubstr("\n")));
    return error.what();
  }
  ADD_FAILURE() << "no error";
  return {};
}

template <typename Action>
std::string usageErrorOf(Action action) {
  return errorOf(HostError::Usage, action);
}

template <typename Action>
std::string failureOf(Action action) {
  return errorOf(HostError::Failed, action);
}
