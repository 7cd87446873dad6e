#include "host/record/FrameSpool.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <utility>

#include "host/input/AsciiText.h"
#include "runtime/KTLogger.h"
#include "runtime/KTString.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* EXTENSION = ".spool";
constexpr std::uint32_t FIRST_NUMBER = 1;
constexpr std::uint64_t LARGEST_PART = 16U << 20;
constexpr std::uint64_t PARTS = 16;  // of a full spool, at least

std::uint64_t placeOf(std::uint32_t number, std::uint32_t offset) {
  return static_cast<std::uint64_t>(number) << 32 | offset;
}

std::optional<std::uint32_t> numberOf(const fs::path& path) {
  if (path.extension() != EXTENSION) return std::nullopt;
  const std::optional<long> number = parseDigits(path.stem().string());
  if (!number || *number <= 0 || *number > 0x7FFFFFFF) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

}  // namespace

FrameSpool::FrameSpool(std::string directory, std::uint64_t limit)
    : directory_(std::move(directory)), limit_(limit), next_(FIRST_NUMBER) {
  if (!directory_.empty()) findLeftover();
}

void FrameSpool::findLeftover() {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory_, error)) {
    const std::optional<std::uint32_t> number = numberOf(entry.path());
    if (!number) continue;
    next_ = std::max(next_, *number + 1);
    std::unique_ptr<SpoolSegment> file = SpoolSegment::open(entry.path());
    if (file == nullptr) {
      KTLogger::instance()->log(KTLogger::Warning, "%s is no spool file: it is left alone",
                                entry.path().c_str());
      continue;
    }
    parts_.push_back({*number, std::move(file), true});
  }
  std::sort(parts_.begin(), parts_.end(),
            [](const Part& a, const Part& b) { return a.number < b.number; });
  for (const Part& part : parts_) {
    bytes_ += part.file->size();
    frames_ += part.file->unread();
  }
  leftover_ = frames_;
  if (leftover_ == 0) settle(placeOf(next_, 0));
}

std::string FrameSpool::pathOf(std::uint32_t number) const {
  return directory_ + "/" + std::to_string(number) + EXTENSION;
}

bool FrameSpool::makeDirectory() const {
  std::error_code error;
  fs::create_directories(directory_, error);
  if (error) errno = error.value();
  return !error;
}

std::uint64_t FrameSpool::takeDropped() {
  return std::exchange(dropped_, 0);
}

bool FrameSpool::needsPart(const StreamFrame& frame) const {
  if (parts_.empty() || parts_.back().left || parts_.back().settledAt) return true;
  const SpoolSegment& last = *parts_.back().file;
  if (!(*last.settings() == *frame.settings)) return true;
  return frame.startsPlayback && last.size() >= std::min(LARGEST_PART, limit_ / PARTS);
}

bool FrameSpool::makePart(const StreamFrame& frame) {
  if (!makeDirectory()) return false;
  std::unique_ptr<SpoolSegment> file = SpoolSegment::create(pathOf(next_), frame.settings);
  if (file == nullptr) return false;
  bytes_ += file->size();
  parts_.push_back({next_++, std::move(file)});
  return true;
}

FrameSpool::Appended FrameSpool::append(const StreamFrame& frame, SpoolSegment::Use use) {
  if (!stores()) return Refused;
  removeSettled(KTClock::instance()->elapsed() - SAFE_AFTER);
  makeRoom(SpoolSegment::sizeOf(frame));
  needsStart_ = needsStart_ && !frame.startsPlayback;
  if (needsStart_) {
    if (use == SpoolSegment::Record) ++dropped_;
    return Stored;
  }
  if (needsPart(frame) && !makePart(frame)) return Refused;
  SpoolSegment& file = *parts_.back().file;
  const unsigned int unread = file.unread();
  if (!file.append(frame, use)) return Refused;
  bytes_ += SpoolSegment::sizeOf(frame);
  frames_ += file.unread() - unread;
  return Stored;
}

void FrameSpool::makeRoom(std::uint64_t needed) {
  while (!parts_.empty() && bytes_ + needed > limit_) dropOldest();
}

// With the last file goes the beginning of the group of pictures that is being written.
void FrameSpool::dropOldest() {
  Part& oldest = parts_.front();
  dropped_ += oldest.left ? oldest.file->unread() : oldest.file->unrecorded();
  needsStart_ = parts_.size() == 1 && !oldest.settledAt;
  forget(oldest);
  parts_.pop_front();
}

void FrameSpool::forget(Part& part) {
  bytes_ -= std::min<std::uint64_t>(bytes_, part.file->size());
  passOver(part);
  if (!part.file->isFaulty()) part.file->remove();
}

std::uint64_t FrameSpool::end() const {
  return parts_.empty() ? placeOf(next_, 0)
                        : placeOf(parts_.back().number, parts_.back().file->size());
}

bool FrameSpool::take(StreamFrame& frame) {
  for (Part& part : parts_) {
    SpoolSegment& file = *part.file;
    while (const unsigned int unread = file.unread()) {
      SpoolSegment::Use use = SpoolSegment::Record;
      const bool isSound = file.read(frame, use);
      if (!isSound) dropped_ += file.skipGroup();
      countRead(part, unread - file.unread());
      if (!isSound || (use == SpoolSegment::Context && !part.left)) continue;
      frame.spoolPlace = placeOf(part.number, file.readOffset());
      return true;
    }
  }
  return false;
}

void FrameSpool::countRead(Part& part, unsigned int frames) {
  frames_ -= frames;
  if (part.left) leftover_ -= frames;
}

std::optional<StreamFrame> FrameSpool::first() const {
  StreamFrame frame;
  for (const Part& part : parts_) {
    if (part.file->peek(frame)) return frame;
  }
  return std::nullopt;
}

void FrameSpool::settle(std::uint64_t place) {
  const auto number = static_cast<std::uint32_t>(place >> 32);
  const auto offset = static_cast<std::uint32_t>(place);
  for (Part& part : parts_) {
    if (part.number > number) break;
    if (part.number == number && (part.file->unread() != 0 || offset < part.file->readOffset())) {
      part.file->settle(offset);
    } else if (!part.settledAt) {
      passOver(part);
      part.settledAt = KTClock::instance()->elapsed();
    }
  }
  removeSettled(KTClock::instance()->elapsed() - SAFE_AFTER);
}

void FrameSpool::passOver(Part& part) {
  countRead(part, part.file->unread());
  part.file->passOver();
}

void FrameSpool::removeSettled(KTClock::Span before) {
  while (!parts_.empty() && parts_.front().settledAt && *parts_.front().settledAt <= before) {
    forget(parts_.front());
    parts_.pop_front();
  }
}

void FrameSpool::finish() {
  if (parts_.empty() || !parts_.front().settledAt) return;
  sync();
  removeSettled(KTClock::Span::max());
}
