#pragma once

#include "runtime/KTRDynamicDataBlock.h"
#include "runtime/KTREventRow.h"
#include "runtime/KTRExport.h"

/**
 * Walks the events of one committed message: the parser of docs/format/event.md. An event whose
 * length runs past the message or passes the largest one allowed ends the walk; the rest of that
 * message is dropped with one warning that says why.
 *
 * Owns: the message's bytes, shared with the block that was parsed.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: false from parse() or next() when no sound event is left.
 */
class KTR_API KTREventFrame : public KTRDynamicDataBlock {
 public:
  KTREventFrame();
  ~KTREventFrame() override;

  /** Takes one message; true when it begins with a sound event, on which the parser then stands. */
  [[nodiscard]] bool parse(const KTDataBlock& data);
  /** Moves to the next event; false, standing on none, when there is none. */
  [[nodiscard]] bool next();
  /** The current event; a row of zeros when standing on none. */
  [[nodiscard]] KTREventRow getRow() const { return row_; }

 private:
  KTREventRow row_;
  unsigned int nextOffset_ = 0;
};
