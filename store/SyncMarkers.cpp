#include "store/SyncMarkers.h"

#include "runtime/LoadOrder.h"

KTR_LOAD_SYNC_MARKERS const KTDataBlock NULL_FLAG(FLAG, sizeof FLAG);
KTR_LOAD_SYNC_MARKERS const KTDataBlock NEW_FILE_FLAG(_NEW_FILE_FLAG, sizeof _NEW_FILE_FLAG);
