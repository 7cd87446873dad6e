#include "host/play/AudioSessionPlayer.h"

#include "runtime/KTRFrameFormat.h"
#include "runtime/KTRFrameWriter.h"
#include "runtime/LittleEndian.h"

AudioSessionPlayer::~AudioSessionPlayer() = default;

void AudioSessionPlayer::wantHeader() {
  setNeedHeader(true);
  wanted_ = true;
}

int AudioSessionPlayer::load(const Parameters& params) {
  wantHeader();
  return SessionPlayerOf::load(params);
}

bool AudioSessionPlayer::loadStart(const KTRRecorderSessionRow& row) {
  wantHeader();
  return SessionPlayerOf::loadStart(row);
}

int AudioSessionPlayer::getFrame(KTDataBlock& frame, unsigned int& timestamp) {
  const int delivered = SessionPlayerOf::getFrame(frame, timestamp);
  if (delivered == 0 || !wanted_) return delivered;
  wanted_ = false;
  header_.reset();
  constexpr unsigned int head = KTRFrameFormat::HEAD_SIZE;
  if (frame.size < head) return delivered;
  MediaBytes rest(frame.data + head, frame.size - head);
  const std::optional<AudioHeader> header = AudioHeader::take(rest);
  if (!header) return delivered;
  header_ = std::make_shared<const AudioHeader>(*header);
  frame = KTRFrameWriter::build(KTRFrameFormat::Audio,
                                loadLittleEndian(frame.data + KTRFrameFormat::STAMP_OFFSET),
                                {{rest.data(), static_cast<unsigned int>(rest.size())}});
  return delivered;
}
