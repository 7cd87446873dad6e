// KTRVideoFrame on a message that anybody may have made, and its mirror KTRFrameWriter.
#include <vector>

#include "fuzz/FuzzRequire.h"
#include "runtime/KTRFrameWriter.h"
#include "runtime/KTRVideoFrame.h"

using Format = KTRFrameFormat;

namespace {

KTDataBlock rebuilt(const KTRVideoFrame& frame) {
  const KTDataBlock payload = frame.payload();
  return KTRFrameWriter::build(frame.kind(), frame.timeStamp(), {{payload.data, payload.size}},
                               frame.compositionOffset());
}

void checkFrame(const KTRVideoFrame& frame) {
  const KTDataBlock bytes = frame.data();
  fuzzRequire(bytes.size >= Format::HEAD_SIZE && bytes.size <= Format::MAX_FRAME_SIZE,
              "a frame has a head and fits a record");
  fuzzRequire(Format::isKind(frame.kind()), "a frame has a known kind");
  fuzzRequire((frame.contentIndicator() == 0) == (frame.payload().size == 0),
              "a frame with content has media bytes");
  // A composition offset of 0 may stand in a frame; the writer leaves it out.
  const bool needless =
      (bytes.data[0] & Format::COMPOSITION_FLAG) != 0 && frame.compositionOffset() == 0;
  fuzzRequire(needless || rebuilt(frame) == bytes, "the writer mirrors the parser");
}

void checkNoFrame(KTRVideoFrame& frame) {
  fuzzRequire(frame.data().size == 0 && frame.payload().size == 0, "no frame has no bytes");
  fuzzRequire(!frame.next(), "a walk that has ended stays ended");
}

void walk(const KTDataBlock& message) {
  KTRVideoFrame frame;
  unsigned int taken = 0;
  for (bool found = frame.parse(message); found; found = frame.next()) {
    checkFrame(frame);
    const KTDataBlock bytes = frame.data();
    fuzzRequire(bytes == message.copy(taken, bytes.size), "frames follow each other in a message");
    taken += bytes.size;
    fuzzRequire(taken + frame.unparsedSize() == message.size, "every byte is counted once");
  }
  fuzzRequire(taken + frame.unparsedSize() == message.size, "the refused rest is counted");
  checkNoFrame(frame);
  frame.clear();
  fuzzRequire(frame.unparsedSize() == 0, "clear() forgets the message");
}

// Frames made of the input come out of a message as they went in.
void roundTrip(FuzzInput input) {
  KTDataBlock message;
  std::vector<KTDataBlock> frames;
  while (!input.empty()) {
    const auto kind = static_cast<Format::Kind>(Format::Key + input.byte() % Format::Audio);
    const auto stampMs = static_cast<std::uint32_t>(input.word() << 16 | input.word());
    const auto offsetMs = static_cast<std::int32_t>(input.word()) - 0x8000;
    const FuzzBytes media = input.bytes(1 + input.byte());
    if (media.empty()) break;
    const auto size = static_cast<unsigned int>(media.size());
    frames.push_back(KTRFrameWriter::build(kind, stampMs, {{media.data(), size}}, offsetMs));
    message += frames.back();
  }
  KTRVideoFrame frame;
  bool found = frame.parse(message);
  for (const KTDataBlock& wanted : frames) {
    fuzzRequire(found && frame.data() == wanted, "what was built is found");
    found = frame.next();
  }
  fuzzRequire(!found, "nothing is found that was not built");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SilentLog::use();
  walk(KTDataBlock(data, static_cast<unsigned int>(size)));
  roundTrip(FuzzInput({data, size}));
  return 0;
}
