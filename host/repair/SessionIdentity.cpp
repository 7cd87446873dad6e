#include "host/repair/SessionIdentity.h"

#include "db/streamTypes.h"
#include "host/check/StoredAudioHeader.h"
#include "host/record/AudioSettings.h"
#include "host/record/SessionSidecar.h"
#include "host/record/SettingsName.h"
#include "host/record/VideoSettings.h"
#include "host/repair/Footage.h"

namespace {

constexpr unsigned int AUDIO_FPS = 15;

RecorderTables::Settings settingsOf(const KTRSettingsRow& row) {
  return {std::string(row.name.view()), std::string(row.settings.view()), row.streamType};
}

RecorderTables::Settings soundSettingsOf(const SessionFiles& files) {
  if (const auto header = StoredAudioHeader::read(files.audioHeaderPath())) {
    return settingsOf(audioSettingsOf(*header));
  }
  KTString codec;
  KTRAudioSettingsRow unknown("", 0, codec, 0);
  unknown.name = settingsName('a', unknown.settings);
  return settingsOf(unknown);
}

RecorderTables::Settings pictureSettingsOf(const SessionFiles& files, const Footage& footage) {
  MediaSource::Info info = Footage::videoFormOf(files).value_or(MediaSource::Info());
  info.frameRate = static_cast<int>(footage.framesPerSecond());
  return settingsOf(videoSettingsOf(info));
}

}  // namespace

bool SessionIdentity::isSound() const {
  return settings.type == STREAM_AUDIO;
}

SessionIdentity SessionIdentity::of(const SessionFiles& files, long start) {
  SessionIdentity identity;
  identity.start = identity.end = start;
  if (const auto sidecar = SessionSidecar::read(files.sidecarPath())) {
    identity.stream = sidecar->stream;
    identity.settings = {sidecar->name, sidecar->settings, sidecar->type};
    identity.fps = sidecar->fps;
    return identity;
  }
  const Footage footage = Footage::read(files, start, 0, {});
  identity.end = footage.last;
  identity.settings = footage.sound ? soundSettingsOf(files) : pictureSettingsOf(files, footage);
  identity.fps = footage.sound ? AUDIO_FPS : footage.framesPerSecond();
  return identity;
}
