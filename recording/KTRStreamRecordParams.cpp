#include "recording/KTRStreamRecordParams.h"

KTRStreamRecordParams::KTRStreamRecordParams()
    : videoSettings(KTRSettingsRow("", STREAM_VIDEO, "")),
      audioSettings(KTRSettingsRow("", STREAM_AUDIO, "")) {}

KTRStreamRecordParams::KTRStreamRecordParams(const KTRStreamRecordParams& other)
    : KTRStreamRecordParams() {
  *this = other;
}

KTRStreamRecordParams& KTRStreamRecordParams::operator=(const KTRStreamRecordParams& other) {
  dbName = other.dbName;
  videoSettings = other.videoSettings;
  audioSettings = other.audioSettings;
  recordMode = other.recordMode;
  sessionKind = other.sessionKind;
  sliceSize = other.sliceSize;
  storageDir = other.storageDir;
  preEventKeyFrames = other.preEventKeyFrames;
  auxValue1 = other.auxValue1;
  streamId = other.streamId;
  auxValue2 = other.auxValue2;
  videoSettings.parse();
  audioSettings.parse();
  return *this;
}

KTRStreamRecordParams::~KTRStreamRecordParams() = default;
