#include "tests/load/LoadClip.h"

#include "runtime/KTRFrameWriter.h"
#include "runtime/KTRVideoFrame.h"
#include "tests/host_media/StoredFrames.h"
#include "tests/support/TestClip.h"

LoadClip::LoadClip(const std::string& directory) {
  TestClip::Form form;
  form.seconds = 8;
  form.keyInterval = static_cast<int>(FRAME_RATE);
  form.size = "320x240";
  for (const KTDataBlock& frame : framesOf(TestClip::make(directory + "/clip.mp4", form))) {
    KTRVideoFrame parsed;
    if (parsed.parse(frame)) pictures_.push_back({parsed.payload(), parsed.isKFrame()});
  }
}

// The streams begin at different key frames, so that no two neighbours send the same.
KTDataBlock LoadClip::frame(unsigned int stream, unsigned int number) const {
  const Picture& picture = pictures_[(number + stream * FRAME_RATE) % pictures_.size()];
  return KTRFrameWriter::build(picture.key ? KTRFrameFormat::Key : KTRFrameFormat::Delta,
                               static_cast<unsigned int>(SECOND_OF_DAY) * 1000 + number * FRAME_MS,
                               {{picture.bytes.data, picture.bytes.size}});
}

std::optional<unsigned int> LoadClip::numberOf(unsigned int stream,
                                               const KTDataBlock& stored) const {
  constexpr unsigned int FIRST_STAMP = static_cast<unsigned int>(SECOND_OF_DAY) * 1000;
  KTRVideoFrame parsed;
  if (!parsed.parse(stored) || parsed.timeStamp() < FIRST_STAMP) return std::nullopt;
  const unsigned int number = (parsed.timeStamp() - FIRST_STAMP) / FRAME_MS;
  if (stored != frame(stream, number)) return std::nullopt;
  return number;
}
