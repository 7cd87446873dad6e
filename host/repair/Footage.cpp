#include "host/repair/Footage.h"

#include <algorithm>

#include "host/check/SliceScanner.h"
#include "host/media/VideoForm.h"
#include "runtime/KTRVideoFrame.h"

namespace {

constexpr unsigned int MICROSECONDS = 1000000;

std::optional<MediaSource::Info> formOf(SliceFile& file, const SliceRecord& record) {
  const auto bytes = file.bytes(record.offset, record.end() - record.offset);
  KTRVideoFrame frame;
  if (bytes.empty() ||
      !frame.parse(KTDataBlock(bytes.data() + KTRFile::RECORD_HEAD_SIZE, record.size))) {
    return std::nullopt;
  }
  const KTDataBlock picture = frame.payload();
  return VideoForm::of({picture.data, picture.size});
}

}  // namespace

Footage Footage::read(const SessionFiles& files, long start, unsigned int fps,
                      const TakeRow& take) {
  Footage footage;
  RowMaker maker(fps == 0 ? 0 : MICROSECONDS / fps);
  SessionWalk walk(files, start);
  for (const unsigned int slice : files.chain()) {
    const auto walked = walk.walk(slice, [&](const SessionWalk::Frame& frame) {
      const bool needsRow = maker.needsRow(frame, false);
      footage.sound = footage.sound || frame.record.kind == KTRFrameFormat::Audio;
      if (frame.strayStamp) return;
      if (footage.frames++ == 0) footage.first = footage.last = frame.seconds();
      footage.last = std::max(footage.last, frame.seconds());
      if (!needsRow) return;
      footage.lastRow = std::max(footage.lastRow, frame.seconds());
      if (!take) return;
      take({static_cast<uint32_t>(frame.record.offset), static_cast<uint32_t>(frame.seconds()),
            slice, maker.delayUsec()});
    });
    footage.intact = footage.intact && walked.isSound();
  }
  return footage;
}

unsigned int Footage::framesPerSecond() const {
  constexpr uint64_t largest = 255;
  const uint64_t seconds = static_cast<uint64_t>(std::max(1L, last - first));
  return static_cast<unsigned int>(
      std::clamp<uint64_t>((frames + seconds / 2) / seconds, 1, largest));
}

std::optional<MediaSource::Info> Footage::videoFormOf(const SessionFiles& files) {
  for (const unsigned int slice : files.chain()) {
    SliceScanner scanner(files.slicePath(slice));
    for (auto item = scanner.next(); item != SliceScanner::End; item = scanner.next()) {
      if (item != SliceScanner::Record || !scanner.record().startsPlayback()) continue;
      SliceFile whole(files.slicePath(slice), SliceFile::LargestRecord);
      const auto form = formOf(whole, scanner.record());
      if (form && form->width != 0) return form;
    }
  }
  return std::nullopt;
}
