#include "tests/host_media/StoredFrames.h"

#include "host/media/FrameSource.h"
#include "host/media/MediaOutput.h"
#include "tests/support/ManualClock.h"

std::vector<StoredUnit> unitsOf(const std::string& url) {
  MediaInput input(url, {.realtime = false});
  std::vector<StoredUnit> units;
  for (AccessUnit unit; input.read(unit);) {
    StoredUnit stored{{}, unit.key, unit.jumped, unit.dtsMs(), AccessUnit::toMs(unit.ptsUs)};
    for (const MediaBytes part : {unit.lead, unit.parameterSets, unit.bytes}) {
      stored.bytes.insert(stored.bytes.end(), part.begin(), part.end());
    }
    units.push_back(stored);
  }
  return units;
}

std::vector<KTDataBlock> framesOf(const std::string& url, bool audio) {
  ManualClock clock(1699948800);  // a sleep moves it at once, so that real time costs no time
  MediaInput input(url, {.audio = audio});
  FrameSource source(input);
  std::vector<KTDataBlock> frames;
  for (KTDataBlock frame; source.next(frame);) frames.push_back(frame);
  return frames;
}

StoredSound soundOf(const std::string& url) {
  MediaInput input(url, {.realtime = false, .audio = true});
  StoredSound sound;
  for (bool more = true; more;) {
    AccessUnit unit;
    more = input.read(unit);
    for (const AudioPacket& packet : input.takeAudio()) sound.packets.push_back(packet);
  }
  if (input.audioHeader() != nullptr) sound.header = *input.audioHeader();
  return sound;
}

void writeFrames(const std::vector<KTDataBlock>& frames, const std::string& path,
                 MediaCodec codec) {
  MediaOutput output(path, codec);
  KTRVideoFrame parser;
  for (const KTDataBlock& frame : frames) {
    if (parser.parse(frame)) output.write(parser.timeStamp(), parser);
  }
  output.finish();
}

std::vector<NalKind> kindsOf(MediaCodec codec, MediaBytes annexB) {
  std::vector<NalKind> kinds;
  for (NalUnits units(annexB); units.next();)
    kinds.push_back(NalUnits::kindOf(codec, units.unit()));
  return kinds;
}

std::vector<std::vector<unsigned char>> nalUnitsOf(MediaBytes annexB) {
  std::vector<std::vector<unsigned char>> all;
  for (NalUnits units(annexB); units.next();) {
    all.emplace_back(units.unit().begin(), units.unit().end());
  }
  return all;
}
