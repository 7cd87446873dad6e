#pragma once

#include <string>
#include <vector>

#include "runtime/KTDataBlock.h"
#include "runtime/KTREventRow.h"

/** One event of a recorder, as it is played back. A value. */
struct StoredEvent {
  /** Bytes of data that an event may have: a batch tells lengths in 8 bits. */
  static constexpr unsigned int MAX_DATA = 255;
  /** Largest event type: a batch marks the type with its top bit. */
  static constexpr unsigned int MAX_TYPE = 0x7FFFFFFF;

  unsigned int sensor = 0;
  unsigned int time = 0;  ///< seconds since the epoch
  unsigned int id = 0;
  unsigned int type = 0;
  std::string data;

  /** The events of a batch of the event read session; what is cut off at its end is left out. */
  [[nodiscard]] static std::vector<StoredEvent> parseBatch(const KTDataBlock& batch);
  [[nodiscard]] KTREventRow row() const;

  [[nodiscard]] bool operator==(const StoredEvent& other) const = default;
  // NOLINTNEXTLINE(modernize-use-nullptr): the 0 is the compiler's own
  [[nodiscard]] auto operator<=>(const StoredEvent& other) const = default;
};
