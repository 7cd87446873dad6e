#include "host/record/RecordDisplay.h"

#include <algorithm>

#include "host/ByteText.h"
#include "runtime/KTString.h"

using std::chrono::seconds;

namespace {

constexpr KTClock::Span PRINT_INTERVAL = seconds(10);

std::string text(const KTString& formatted) {
  return std::string(formatted.view());
}

std::string lostText(std::uint64_t lost) {
  return lost == 0 ? "" : ", " + std::to_string(lost) + " frames lost";
}

}  // namespace

RecordDisplay::RecordDisplay(std::ostream& out, bool terminal)
    : out_(out),
      terminal_(terminal),
      start_(KTClock::instance()->elapsed()),
      nextPrint_(start_ + PRINT_INTERVAL) {}

std::string RecordDisplay::elapsedText(KTClock::Span elapsed) {
  const long long all = std::chrono::duration_cast<seconds>(elapsed).count();
  KTString formatted;
  return text(formatted.format("%lld:%02lld:%02lld", all / 3600, all / 60 % 60, all % 60));
}

std::string RecordDisplay::bitrateText(std::uint64_t bytes, KTClock::Span time) {
  const double perSecond =
      time.count() <= 0 ? 0 : static_cast<double>(bytes) * 8e6 / static_cast<double>(time.count());
  KTString formatted;
  if (perSecond < 1e6) return text(formatted.format("%.0f kbit/s", perSecond / 1e3));
  return text(formatted.format("%.1f Mbit/s", perSecond / 1e6));
}

std::string RecordDisplay::lineOf(const SessionFeed::Progress& progress, KTClock::Span now) {
  return std::to_string(progress.stored.frames) + " frames, " +
         ByteText::format(progress.stored.bytes) + ", " +
         bitrateText(progress.stored.bytes, now - start_) + ", slice " +
         std::to_string(progress.stored.sliceIndex) + ", queue " + std::to_string(progress.queue) +
         lostText(progress.lost);
}

void RecordDisplay::update(const std::vector<Stream>& streams) {
  const KTClock::Span now = KTClock::instance()->elapsed();
  if (terminal_) {
    drawLine(streams, now);
  } else if (now >= nextPrint_) {
    nextPrint_ += PRINT_INTERVAL;
    printLines(streams, now);
  }
}

// All streams in one line: sums, and the highest slice and queue.
void RecordDisplay::drawLine(const std::vector<Stream>& streams, KTClock::Span now) {
  SessionFeed::Progress all;
  for (const Stream& stream : streams) {
    const SessionFeed::Progress& one = stream.status.progress;
    all.stored.frames += one.stored.frames;
    all.stored.bytes += one.stored.bytes;
    all.stored.sliceIndex = std::max(all.stored.sliceIndex, one.stored.sliceIndex);
    all.queue = std::max(all.queue, one.queue);
    all.lost += one.lost;
  }
  const std::string count =
      streams.size() == 1 ? "" : std::to_string(streams.size()) + " streams, ";
  print(CLEAR_LINE + elapsedText(now - start_) + "  " + count + lineOf(all, now));
}

void RecordDisplay::printLines(const std::vector<Stream>& streams, KTClock::Span now) {
  for (const Stream& stream : streams) {
    print(elapsedText(now - start_) + " stream " + std::to_string(stream.number) + ": " +
          lineOf(stream.status.progress, now) + "\n");
  }
}

void RecordDisplay::error(unsigned int stream, const std::string& text) {
  print((terminal_ ? CLEAR_LINE : "") + ("ktr: stream " + std::to_string(stream)) + ": " + text +
        "\n");
}

void RecordDisplay::summary(const std::vector<Stream>& streams) {
  const KTClock::Span now = KTClock::instance()->elapsed();
  if (terminal_) print(CLEAR_LINE);
  for (const Stream& stream : streams) {
    const SessionFeed::Progress& one = stream.status.progress;
    if (stream.status.failed && one.stored.frames == 0) continue;
    print("stream " + std::to_string(stream.number) + ": recorded " +
          std::to_string(one.stored.frames) + " frames, " + ByteText::format(one.stored.bytes) +
          " in " + elapsedText(now - start_) + lostText(one.lost) + "\n");
  }
}

// In one piece: the threads of the streams log to the same place.
void RecordDisplay::print(const std::string& text) {
  out_ << text << std::flush;
}
