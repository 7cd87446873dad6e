// What the media suites share: a clip as the frames that a record session would get.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/media/MediaInput.h"
#include "runtime/KTDataBlock.h"

/** An access unit with bytes of its own. */
struct StoredUnit {
  std::vector<unsigned char> bytes;
  bool key;
  bool jumped;
  std::int64_t dtsMs;
  std::int64_t ptsMs;
};

/** Every access unit of a source, unpaced. */
[[nodiscard]] std::vector<StoredUnit> unitsOf(const std::string& url);

/** Every frame of a source, unpaced, the stamps counted from 08:00 of a ManualClock. */
[[nodiscard]] std::vector<KTDataBlock> framesOf(const std::string& url, bool audio = false);

/** Writes the frames to a MediaOutput as playback does. */
void writeFrames(const std::vector<KTDataBlock>& frames, const std::string& path, MediaCodec codec);

/** The sound of a source, unpaced, and its header. */
struct StoredSound {
  std::vector<AudioPacket> packets;
  std::optional<AudioHeader> header;
};
[[nodiscard]] StoredSound soundOf(const std::string& url);

/** The kinds of the NAL units of an Annex B access unit, in order. */
[[nodiscard]] std::vector<NalKind> kindsOf(MediaCodec codec, MediaBytes annexB);

/** The NAL units of an Annex B access unit, whatever the length of their start codes. */
[[nodiscard]] std::vector<std::vector<unsigned char>> nalUnitsOf(MediaBytes annexB);
