#pragma once

#include "db/KTRAudioSettingsRow.h"
#include "db/KTRVideoSettingsRow.h"
#include "runtime/KTRExport.h"
#include "runtime/KTString.h"

/**
 * What configures a record session of one stream. A value; one thread at a time. Its texts go into
 * statements: what KTRTextGuard refuses starts no session.
 *
 * Units: sliceSize in bytes.
 */
class KTR_API KTRStreamRecordParams {
 public:
  enum RecordMode { Continuous = 10, ByEvents = 20 };
  /** The session kind in which a frame clock that runs backwards starts a new record session. */
  static constexpr int FOLLOWS_FRAME_CLOCK = 10;

  KTRStreamRecordParams();
  KTRStreamRecordParams(const KTRStreamRecordParams& other);
  KTRStreamRecordParams& operator=(const KTRStreamRecordParams& other);
  ~KTRStreamRecordParams();

  KTString dbName;                    // recorder
  KTRVideoSettingsRow videoSettings;  // its frame rate is the default frame interval
  KTRAudioSettingsRow audioSettings;
  int recordMode = Continuous;
  int sessionKind = FOLLOWS_FRAME_CLOCK;
  int sliceSize = 0;
  KTString storageDir;        // absolute; day directories are made below it
  int preEventKeyFrames = 0;  // kept before an event; 0 = the defaults
  int auxValue1 = 0;          // the caller's
  int streamId = 0;           // 0 to 255
  int auxValue2 = 0;          // the caller's
};
