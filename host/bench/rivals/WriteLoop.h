#pragma once

#include <memory>

#include "host/bench/BenchPlace.h"
#include "host/bench/ColdBytes.h"
#include "host/bench/Scenario.h"
#include "runtime/KTDataBlock.h"

class UniqueFd;

/**
 * A bare loop of write(2): as many bytes as a scenario's footage has, in pieces of one size, into
 * files of the size of slices, with nothing around it. The bytes come from memory that no cache
 * holds.
 */
class WriteLoop : public Rival {
 public:
  struct Form {
    std::string name;
    std::size_t pieceBytes;
    bool direct;  // past the page cache; pieces are then multiples of ColdBytes::ALIGNMENT
    bool collects = false;  // pieces are put together from frames, as who is given frames has to
  };

  WriteLoop(BenchPlace& place, Form form, unsigned int seconds, std::shared_ptr<ColdBytes> source);

  /** Those that footage is compared with, without those that the file system refuses. */
  [[nodiscard]] static std::vector<std::unique_ptr<Rival>> all(BenchPlace& place,
                                                               unsigned int seconds);
  /** A form past the page cache, with pieces of the size that is quickest of four tried here. */
  [[nodiscard]] static std::unique_ptr<WriteLoop> bestDirect(
      BenchPlace& place, const Form& form, unsigned int seconds,
      const std::shared_ptr<ColdBytes>& source);
  /** Whether the file system of a directory takes writes past the page cache. */
  [[nodiscard]] static bool directWorks(const std::string& directory);

  [[nodiscard]] std::string name() const override { return form_.name; }
  [[nodiscard]] Measurement run() override;

 private:
  [[nodiscard]] UniqueFd newFile(const std::string& directory, std::uint64_t number) const;
  [[nodiscard]] const unsigned char* nextPiece();

  BenchPlace& place_;
  const Form form_;
  const unsigned int seconds_;  // of footage
  const std::shared_ptr<ColdBytes> source_;
  KTDataBlock collected_;
};
