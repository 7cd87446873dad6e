#include "host/record/SettingsName.h"

#include <cstdint>

namespace {

// FNV-1a: short, and the same on every machine.
std::uint64_t hashOf(const KTString& text) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char c : text.view()) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return hash;
}

}  // namespace

KTString settingsName(char kind, const KTString& settings) {
  KTString name;
  return name.format("%c%016llx", kind, static_cast<unsigned long long>(hashOf(settings)));
}
