#include "host/media/MediaInput.h"

#include "host/media/LibAv.h"
#include "runtime/KTLogger.h"

MediaInput::MediaInput(const std::string& url, const Options& options)
    : stop_(options.stop),
      source_(url, stop_),
      pacer_(stop_),
      paced_(options.realtime && !source_.info().live),
      converter_(source_.info().codec),
      sets_(source_.info().codec),
      timeline_(source_.info().frameUs, source_.info().reorderFrames),
      order_(source_.info().codec, source_.info().reorderFrames) {
  converter_.setHeader(source_.header(), name());
  sets_.remember(converter_.headerSets());
}

bool MediaInput::read(AccessUnit& unit) {
  AccessUnit next;
  do {
    if (!source_.next()) return false;
  } while (!take(next));
  if (paced_ && !pacer_.wait(next.dtsUs)) return false;
  unit = next;
  return true;
}

// Makes a picture of the current packet; false when nothing of the packet is sound.
bool MediaInput::take(AccessUnit& unit) {
  if (const MediaBytes header = source_.packetHeader(); !header.empty()) {
    converter_.setHeader(header, name());
    sets_.remember(converter_.headerSets());
  }
  const AnnexBConverter::Converted converted = converter_.convert(source_.packet());
  if (converted.damaged) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "[ MediaInput ] %s: a damaged picture, %zu of %d bytes kept",
                              name().c_str(), converted.bytes.size(), source_.packet().size);
  }
  if (converted.bytes.empty()) return false;
  frame(unit, converted.bytes);
  place(unit);
  return true;
}

void MediaInput::frame(AccessUnit& unit, MediaBytes bytes) {
  unit.bytes = bytes;
  unit.key = (source_.packet().flags & AV_PKT_FLAG_KEY) != 0;
  if (info().codec == MediaCodec::Mjpeg) {
    unit.key = true;
    return;
  }
  const ParameterSets::Lead lead = sets_.remember(bytes);
  if (!unit.key || lead.complete) return;
  unit.lead = bytes.first(lead.delimiterSize);
  unit.parameterSets = sets_.annexB();
  unit.bytes = bytes.subspan(lead.delimiterSize);
}

void MediaInput::place(AccessUnit& unit) {
  const MediaTimeline::Stamp dts = source_.dtsUs();
  const MediaTimeline::Stamp pts = source_.ptsUs();
  const MediaTimeline::Times times = timeline_.place(dts, pts);
  unit.dtsUs = times.dtsUs;
  unit.ptsUs = times.ptsUs;
  unit.jumped = times.jumped;
  if (dts || pts || info().reorderFrames == 0) return;
  const MediaBytes picture(source_.packet().data, static_cast<size_t>(source_.packet().size));
  unit.ptsUs = unit.dtsUs + order_.delayOf(picture) * info().frameUs;
}
