#include "host/bench/BenchClip.h"

#include "runtime/KTRFrameFormat.h"
#include "runtime/KTRFrameWriter.h"

namespace {

constexpr unsigned int SECONDS = 4;
// An encoder spends more at first than later: its buffer is empty then.
constexpr unsigned int SECONDS_BEFORE = 4;

std::vector<PictureEncoder::Picture> steadyPictures() {
  const PictureEncoder encoder({640, 360, static_cast<int>(BenchClip::FRAME_RATE),
                                static_cast<int>(BenchClip::KEY_INTERVAL),
                                static_cast<int>(BenchClip::BIT_RATE)});
  auto pictures = encoder.encode((SECONDS_BEFORE + SECONDS) * BenchClip::FRAME_RATE);
  pictures.erase(pictures.begin(), pictures.begin() + SECONDS_BEFORE * BenchClip::FRAME_RATE);
  return pictures;
}

}  // namespace

BenchClip::BenchClip() : pictures_(steadyPictures()) {}

KTDataBlock BenchClip::frame(std::uint64_t number, std::uint32_t stampMs) const {
  const PictureEncoder::Picture& shown = picture(number);
  return KTRFrameWriter::build(
      shown.key ? KTRFrameFormat::Key : KTRFrameFormat::Delta, stampMs,
      {{shown.bytes.data(), static_cast<unsigned int>(shown.bytes.size())}});
}

std::uint64_t BenchClip::bytes(std::uint64_t frames) const {
  std::uint64_t sum = 0;
  for (std::uint64_t i = 0; i < frames; ++i) {
    sum += picture(i).bytes.size() + KTRFrameFormat::HEAD_SIZE;
  }
  return sum;
}
