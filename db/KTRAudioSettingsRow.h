#pragma once

#include <cstdint>

#include "db/KTRSettingsRow.h"

/**
 * The settings of an audio stream. The meaning of audioParam is the caller's.
 *
 * Owns: its fields.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: none. The codec's name holds neither a comma nor a quote.
 * Units: sampleRate in samples per second.
 */
class KTR_API KTRAudioSettingsRow : public KTRSettingsRow {
 public:
  static constexpr const char* DEFAULT_CODEC = "speex";
  static constexpr unsigned int DEFAULT_SAMPLE_RATE = 16000;

  uint32_t audioParam = 0;
  KTString codec = DEFAULT_CODEC;
  uint32_t sampleRate = DEFAULT_SAMPLE_RATE;

  /** Builds the text from the values; a rate of 0 means DEFAULT_SAMPLE_RATE. */
  KTRAudioSettingsRow(const KTString& name, unsigned int p, KTString& codec, unsigned int rate);
  /** Reads the values from the text of a row that came from the table. */
  explicit KTRAudioSettingsRow(const KTRSettingsRow& row);
  KTRAudioSettingsRow(const KTRAudioSettingsRow&) = default;
  KTRAudioSettingsRow& operator=(const KTRAudioSettingsRow&) = default;
  ~KTRAudioSettingsRow() override;

  /** Missing pieces mean the defaults; audioParam keeps its value when there is no piece at all. */
  void parse() override;
  void buildSettingsString() override;
};
