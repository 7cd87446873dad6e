#pragma once

#include "runtime/KTDataBlock.h"
#include "runtime/KTRExport.h"

/** A polymorphic holder of a growing data block, released with it. One thread at a time. */
class KTR_API KTRDynamicDataBlock {
 public:
  KTRDynamicDataBlock();
  KTRDynamicDataBlock(const KTRDynamicDataBlock&) = default;
  KTRDynamicDataBlock& operator=(const KTRDynamicDataBlock&) = default;
  virtual ~KTRDynamicDataBlock();

 protected:
  KTDataBlock block_;
};
