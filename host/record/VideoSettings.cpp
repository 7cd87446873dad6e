#include "host/record/VideoSettings.h"

#include "host/record/SettingsName.h"

KTRVideoSettingsRow videoSettingsOf(const MediaSource::Info& info) {
  KTString size;
  size.format("%dx%d", info.width, info.height);
  KTRVideoSettingsRow row("", static_cast<unsigned char>(info.frameRate), 0,
                          mediaCodecName(info.codec), size, "");
  row.name = settingsName('v', row.settings);
  return row;
}
