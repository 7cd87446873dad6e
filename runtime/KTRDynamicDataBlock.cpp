#include "runtime/KTRDynamicDataBlock.h"

KTRDynamicDataBlock::KTRDynamicDataBlock() = default;

KTRDynamicDataBlock::~KTRDynamicDataBlock() = default;
