#include "host/view/ScanProgress.h"

#include "host/ByteText.h"
#include "host/record/RecordDisplay.h"

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

constexpr KTClock::Span DRAW_EVERY = milliseconds(200);
constexpr KTClock::Span PRINT_EVERY = seconds(10);

}  // namespace

ScanProgress::ScanProgress(std::ostream& out, bool terminal)
    : out_(out),
      terminal_(terminal),
      start_(KTClock::instance()->elapsed()),
      nextPrint_(start_ + (terminal ? DRAW_EVERY : PRINT_EVERY)) {}

void ScanProgress::update(uint64_t doneBytes, uint64_t allBytes) {
  const KTClock::Span now = KTClock::instance()->elapsed();
  if (now < nextPrint_ || allBytes == 0) return;
  nextPrint_ = now + (terminal_ ? DRAW_EVERY : PRINT_EVERY);
  const uint64_t percent = doneBytes * 100 / allBytes;
  out_ << (terminal_ ? RecordDisplay::CLEAR_LINE : "") << RecordDisplay::elapsedText(now - start_)
       << " checked " << ByteText::format(doneBytes) << " of " << ByteText::format(allBytes) << ", "
       << percent << " %";
  if (!terminal_) out_ << "\n";
  out_.flush();
  drawn_ = terminal_;
}

void ScanProgress::clear() {
  if (drawn_) out_ << RecordDisplay::CLEAR_LINE << std::flush;
  drawn_ = false;
}
