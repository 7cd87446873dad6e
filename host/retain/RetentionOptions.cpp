#include "host/retain/RetentionOptions.h"

#include <CLI/CLI.hpp>

#include "host/HostError.h"
#include "host/input/ByteCount.h"
#include "host/input/DurationText.h"

void RetentionOptions::addTo(CLI::App& command) {
  command.add_option("--max-size", maxSize_, "Delete the oldest above so many bytes: 500GB, 2TiB")
      ->type_name("BYTES");
  command.add_option("--max-age", maxAge_, "Delete what is older than this, such as 30d")
      ->type_name("TIME");
  command
      .add_option("--min-free", minFree_,
                  "Delete the oldest until so much of the disk\n"
                  "is free: 20GiB, 10%; 0 for never. If left out\n"
                  "1 GiB or 5%, whichever is less")
      ->type_name("BYTES|PERCENT");
  command.add_option("--keep-at-least", keepAtLeast_, "Never delete what is younger than this")
      ->type_name("TIME");
}

RetentionPolicy RetentionOptions::policy() const {
  RetentionPolicy policy;
  if (!maxSize_.empty()) policy.maxBytes = ByteCount::parse(maxSize_);
  if (!maxAge_.empty()) policy.maxAge = DurationText::parse(maxAge_);
  if (!minFree_.empty()) policy.minFree = FreeFloor::parse(minFree_);
  if (!keepAtLeast_.empty()) policy.keepAtLeast = DurationText::parse(keepAtLeast_);
  if (policy.maxAge && *policy.maxAge < policy.keepAtLeast) {
    throw usageError("--max-age is less than --keep-at-least", "give an age above the least age");
  }
  return policy;
}
