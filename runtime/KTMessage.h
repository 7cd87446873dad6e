#pragma once

#include <cstdint>

#include "runtime/KTDataBlock.h"
#include "runtime/KTRExport.h"

/**
 * One queued message: a type word and a payload. Made by create() and freed by destroy() only.
 *
 * Owns: its payload (shared with the block it was set from until either changes).
 * Threads: one thread at a time; a queue hands it from one to the next.
 * Blocks: never.
 */
class KTR_API KTMessage {
 public:
  /** Urgent messages pass those of normal priority; equal ones keep their order. */
  enum Priority { NormalPriority = 0, UrgentPriority = 1 };

  std::int32_t type = 0;

  [[nodiscard]] static KTMessage* create();
  void destroy() const;

  void data(const KTDataBlock& b) { payload_ = b; }
  [[nodiscard]] const KTDataBlock& data() const { return payload_; }

  KTMessage(const KTMessage&) = delete;
  KTMessage& operator=(const KTMessage&) = delete;

 private:
  KTMessage() = default;
  ~KTMessage() = default;

  KTDataBlock payload_;
};
