#include "host/record/AudioSettings.h"

#include "host/record/SettingsName.h"

KTRAudioSettingsRow audioSettingsOf(const AudioHeader& header) {
  KTString codec = audioCodecName(header.codec);
  KTRAudioSettingsRow row("", header.channels, codec, header.sampleRate);
  row.name = settingsName('a', row.settings);
  return row;
}
