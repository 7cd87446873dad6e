#include "host/record/VideoSettings.h"

#include <cstdint>

namespace {

// FNV-1a: short, and the same on every machine.
std::uint64_t hashOf(const KTString& text) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char c : text.view()) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return hash;
}

}  // namespace

KTRVideoSettingsRow videoSettingsOf(const MediaSource::Info& info) {
  KTString size;
  size.format("%dx%d", info.width, info.height);
  KTRVideoSettingsRow row("", static_cast<unsigned char>(info.frameRate), 0,
                          mediaCodecName(info.codec), size, "");
  row.name.format("v%016llx", static_cast<unsigned long long>(hashOf(row.settings)));
  return row;
}
