#include "db/KTRAudioSettingsRow.h"

KTRAudioSettingsRow::KTRAudioSettingsRow(const KTString& rowName, unsigned int p,
                                         KTString& codecName, unsigned int rate)
    : KTRSettingsRow(rowName, STREAM_AUDIO, KTString()),
      audioParam(p),
      codec(codecName),
      sampleRate(rate == 0 ? DEFAULT_SAMPLE_RATE : rate) {
  KTRAudioSettingsRow::buildSettingsString();
}

KTRAudioSettingsRow::KTRAudioSettingsRow(const KTRSettingsRow& row) : KTRSettingsRow(row) {
  KTRAudioSettingsRow::parse();
}

KTRAudioSettingsRow::~KTRAudioSettingsRow() = default;

void KTRAudioSettingsRow::parse() {
  const KTVector<KTString> pieces = settings.tokenize(',');
  if (pieces.count() >= 1) audioParam = static_cast<uint32_t>(pieces[0].toInt(0));
  codec = pieces.count() >= 2 ? pieces[1] : KTString(DEFAULT_CODEC);
  sampleRate =
      pieces.count() >= 3 ? static_cast<uint32_t>(pieces[2].toInt(0)) : DEFAULT_SAMPLE_RATE;
}

void KTRAudioSettingsRow::buildSettingsString() {
  settings.format("%u,%s,%u", audioParam, codec.c_str(), sampleRate);
}
