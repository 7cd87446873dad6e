#pragma once

#include <cstdint>

#include "db/KTRSettingsRow.h"

/**
 * The settings of a video stream. Apart from the frame rate their meaning is the caller's; they are
 * stored, compared and handed back.
 *
 * Owns: its fields.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: none. The texts hold neither a comma, which would shift the later fields, nor a quote.
 */
class KTR_API KTRVideoSettingsRow : public KTRSettingsRow {
 public:
  uint8_t videoParam1 = 0;  // frames per second
  uint32_t videoParam2 = 0;
  KTString videoText1;
  KTString videoText2;
  KTString videoText3;

  /** Builds the text from the values. */
  KTRVideoSettingsRow(const KTString& name, unsigned char p1, unsigned int p2, const KTString& t1,
                      const KTString& t2, const KTString& t3);
  /** Reads the values from the text of a row that came from the table. */
  explicit KTRVideoSettingsRow(const KTRSettingsRow& row);
  KTRVideoSettingsRow(const KTRVideoSettingsRow&) = default;
  KTRVideoSettingsRow& operator=(const KTRVideoSettingsRow&) = default;
  ~KTRVideoSettingsRow() override;

  /** A field whose piece is missing keeps its value. */
  void parse() override;
  void buildSettingsString() override;
};
