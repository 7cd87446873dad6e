#include "host/retain/RetentionTimer.h"

#include "host/HostError.h"
#include "runtime/KTLogger.h"

namespace {

void logDeletion(const RetentionRun::Deletion& deletion) {
  KTLogger::instance()->log(KTLogger::Warning, "retention: %s", deletion.line().c_str());
}

RetentionRun::Options logging(RetentionRun::Options options) {
  options.report = logDeletion;
  return options;
}

}  // namespace

RetentionTimer::RetentionTimer(KTR_DB_handle& handle, RetentionRun::Options options)
    : run_(handle, logging(std::move(options))), next_(KTClock::instance()->elapsed() + INTERVAL) {
  tell(run_.pass(false).problem);
}

bool RetentionTimer::runIfDue() {
  const KTClock::Span now = KTClock::instance()->elapsed();
  if (now < next_) return false;
  next_ = now + INTERVAL;
  const RetentionRun::Result result = pass();
  tell(result.problem);
  return result.needsNewSessions;
}

RetentionRun::Result RetentionTimer::pass() {
  try {
    return run_.pass(true);
  } catch (const HostError& error) {
    RetentionRun::Result result;
    result.problem = error.what();
    return result;
  }
}

// Once for as long as it lasts, not every 30 seconds.
void RetentionTimer::tell(const std::string& problem) {
  if (!problem.empty() && !told_) {
    KTLogger::instance()->log(KTLogger::Warning, "retention: %s", problem.c_str());
  }
  told_ = !problem.empty();
}
