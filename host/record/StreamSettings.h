#pragma once

#include <optional>

#include "db/KTRSettingsRow.h"
#include "recording/KTRStreamRecordParams.h"
#include "runtime/KTDataBlock.h"

/**
 * What a record session must know of the frames that it is fed: the settings of the stream, and of
 * sound its header.
 *
 * Owns: its bytes.
 * Threads: any; does not change once it is made.
 * Blocks: never.
 */
class StreamSettings {
 public:
  explicit StreamSettings(const KTRVideoSettingsRow& pictures);
  /** header: as AudioHeader::encode() makes it. */
  StreamSettings(const KTRAudioSettingsRow& sound, const KTDataBlock& header);

  [[nodiscard]] bool isSound() const { return row_.streamType == STREAM_AUDIO; }
  /** Empty for pictures. */
  [[nodiscard]] const KTDataBlock& soundHeader() const { return header_; }
  /** Puts the settings into the parameters of a session. */
  void applyTo(KTRStreamRecordParams& params) const;

  /** The form in which they stand in a file; decode() answers nothing for anything else. */
  [[nodiscard]] KTDataBlock encode() const;
  [[nodiscard]] static std::optional<StreamSettings> decode(const KTDataBlock& bytes);

  [[nodiscard]] bool operator==(const StreamSettings& other) const;

 private:
  StreamSettings(const KTRSettingsRow& row, const KTDataBlock& header)
      : row_(row), header_(header) {}

  KTRSettingsRow row_;
  KTDataBlock header_;
};
