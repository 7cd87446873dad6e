#pragma once

#include <cstdint>
#include <initializer_list>

#include "runtime/KTDataBlock.h"
#include "runtime/KTRExport.h"
#include "runtime/KTRFrameFormat.h"

/**
 * Builds frames for KTRTask::commit(): the mirror of KTRVideoFrame. Stateless; any thread.
 */
class KTR_API KTRFrameWriter {
 public:
  /** A piece of media bytes, borrowed for the call. */
  struct Piece {
    const unsigned char* bytes;
    unsigned int size;
  };

  /**
   * One frame whose payload is the pieces in order, each copied once.
   *
   * @param stampMs  milliseconds since the gateway's midnight (decoding time)
   * @param compositionOffsetMs  presentation minus decoding time; stored only when not 0
   * @return the frame; empty when it would be larger than a stored frame may be
   */
  [[nodiscard]] static KTDataBlock build(KTRFrameFormat::Kind kind, std::uint32_t stampMs,
                                         std::initializer_list<Piece> pieces,
                                         std::int32_t compositionOffsetMs = 0);
};
