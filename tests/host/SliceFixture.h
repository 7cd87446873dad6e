#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "host/check/SessionFiles.h"
#include "runtime/KTRFrameWriter.h"
#include "tests/host/UtcZone.h"
#include "tests/support/FileText.h"
#include "tests/support/TempDir.h"

/** Slices that are put together byte by byte, in the directory of a day; no server is asked. */
class SliceFixture : public UtcZone {
 protected:
  static constexpr long NOON = 1767268800;         // 2026-01-01 12:00:00 UTC
  static constexpr uint32_t NOON_MS = 43'200'000;  // its stamp

  SliceFixture() {
    std::filesystem::create_directories(day_);
    files_.id = 7;
    files_.prefix = day_ + "record_ktr_cam_R7_";
  }

  /** A record of 17 bytes and the media. */
  static std::string record(KTRFrameFormat::Kind kind, uint32_t stampMs,
                            const std::string& media = "m") {
    const KTDataBlock frame =
        KTRFrameWriter::build(kind, stampMs,
                              {{reinterpret_cast<const unsigned char*>(media.data()),
                                static_cast<unsigned int>(media.size())}});
    std::string bytes("\xA7\xA6\xA5\xA4", 4);
    for (unsigned int shift = 0; shift < 32; shift += 8) {
      bytes += static_cast<char>(frame.size >> shift);
    }
    return bytes + std::string(reinterpret_cast<const char*>(frame.data), frame.size);
  }
  static std::string key(uint32_t stampMs) { return record(KTRFrameFormat::Key, stampMs); }
  static std::string delta(uint32_t stampMs) { return record(KTRFrameFormat::Delta, stampMs); }

  static void write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  }
  /** Adds a slice to the session; its path. */
  std::string slice(unsigned int number, const std::string& bytes) {
    files_.slices[number] = bytes.size();
    write(files_.slicePath(number), bytes);
    return files_.slicePath(number);
  }

  TempDir dir_;
  const std::string day_ = dir_.path() + "/cam/2026/01/01/";
  SessionFiles files_;
};
