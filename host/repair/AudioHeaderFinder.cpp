#include "host/repair/AudioHeaderFinder.h"

#include "db/KTRAudioSettingsRow.h"
#include "host/check/StoredAudioHeader.h"
#include "host/record/SessionSidecar.h"

namespace {

std::optional<AudioHeader> ofSidecar(const std::string& path) {
  const auto sidecar = SessionSidecar::read(path);
  if (!sidecar) return std::nullopt;
  MediaBytes bytes(sidecar->audioHeader);
  return AudioHeader::take(bytes);
}

bool needsExtraData(AudioCodec codec) {
  return codec == AudioCodec::Aac || codec == AudioCodec::Opus;
}

std::optional<AudioHeader> ofSettings(const std::string& settings) {
  const KTRAudioSettingsRow row(KTRSettingsRow("", STREAM_AUDIO, KTString(settings)));
  const auto codec = audioCodecOf(row.codec.view());
  if (!codec || needsExtraData(*codec)) return std::nullopt;
  return AudioHeader{*codec, row.audioParam, row.sampleRate, {}};
}

}  // namespace

KTDataBlock AudioHeaderFinder::find(const SessionFiles& files, const std::string& settings,
                                    const std::vector<std::string>& alike) {
  if (const auto header = ofSidecar(files.sidecarPath())) return header->encode();
  for (const std::string& path : alike) {
    if (const auto header = StoredAudioHeader::read(path)) return header->encode();
  }
  const auto header = ofSettings(settings);
  return header ? header->encode() : KTDataBlock();
}
