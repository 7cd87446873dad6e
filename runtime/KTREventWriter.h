#pragma once

#include "runtime/KTDataBlock.h"
#include "runtime/KTREventRow.h"
#include "runtime/KTRExport.h"

/** Builds event messages for KTRTask::commit(): the mirror of KTREventFrame. Any thread. */
class KTR_API KTREventWriter {
 public:
  /** One event; append further ones to the block with += to send several in one message. */
  [[nodiscard]] static KTDataBlock build(const KTREventRow& row);
};
