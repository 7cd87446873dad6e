#pragma once

#include "db/KTRRow.h"
#include "db/streamTypes.h"

/**
 * One "streamSettings" row: a settings combination of a stream as a short text of numbers and words
 * between commas. Two streams have equal settings when these texts are equal.
 *
 * Owns: its fields.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: none. name holds at most 19 characters; name and settings hold no quote: the table
 * refuses them then.
 */
class KTR_API KTRSettingsRow : public KTRRow {
 public:
  KTString name;
  KTString settings;
  streamTypes streamType;

  KTRSettingsRow(const KTString& name, streamTypes type, const KTString& settings);
  KTRSettingsRow(const KTRSettingsRow&) = default;
  KTRSettingsRow& operator=(const KTRSettingsRow&) = default;
  ~KTRSettingsRow() override;

  [[nodiscard]] KTString getQuery() const override;
  /** Fills the fields of a kind of settings from the text; a plain row has none. */
  virtual void parse();
  /** Writes the text from the fields of a kind of settings; a plain row keeps its own. */
  virtual void buildSettingsString();
};
