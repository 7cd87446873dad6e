#include "host/media/MediaInput.h"

#include "host/media/LibAv.h"
#include "runtime/KTLogger.h"

MediaInput::MediaInput(const std::string& url, const Options& options)
    : stop_(options.stop),
      source_(url, stop_, options.audio),
      pacer_(stop_),
      paced_(options.realtime && !source_.info().live),
      converter_(source_.info().codec),
      sets_(source_.info().codec),
      timeline_(source_.info().frameUs, source_.info().reorderFrames),
      order_(source_.info().codec, source_.info().reorderFrames) {
  converter_.setHeader(source_.header(), name());
  sets_.remember(converter_.headerSets());
  if (source_.audio() != nullptr) audio_ = std::make_unique<AudioTrack>(*source_.audio());
}

bool MediaInput::read(AccessUnit& unit) {
  AccessUnit next;
  if (!readPicture(next)) return false;
  if (paced_ && !pacer_.wait(next.dtsUs)) return false;
  unit = next;
  return true;
}

// Reads on to the next picture; sound on the way is kept until that has its place, or the end came.
bool MediaInput::readPicture(AccessUnit& unit) {
  struct Placing {
    MediaInput& input;
    ~Placing() {
      if (input.audio_ != nullptr) input.audio_->place(input.timeline_);
    }
  } const placing{*this};
  while (source_.next()) {
    if (source_.isAudio()) {
      audio_->add(source_.packet(), source_.ptsUs(), source_.durationUs());
    } else if (take(unit)) {
      return true;
    }
  }
  return false;
}

std::vector<AudioPacket> MediaInput::takeAudio() {
  return audio_ == nullptr ? std::vector<AudioPacket>() : audio_->take();
}

const AudioHeader* MediaInput::audioHeader() const {
  return audio_ == nullptr ? nullptr : audio_->header();
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
