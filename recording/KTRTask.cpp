#include "recording/KTRTask.h"

namespace {

// What is tested for before the frames is more than a frame.
bool isFrame(int type) {
  constexpr int TESTED = KTRMessageType::Stop | KTRMessageType::Time | KTRMessageType::FrameData;
  return (type & TESTED) == KTRMessageType::FrameData;
}

KTTimeValue timeValueOf(KTClock::Span span) {
  constexpr KTClock::Span::rep PER_SECOND = 1'000'000;
  return KTTimeValue(static_cast<long>(span.count() / PER_SECOND),
                     static_cast<long>(span.count() % PER_SECOND));
}

}  // namespace

KTRTask::KTRTask() = default;

KTRTask::~KTRTask() = default;

int KTRTask::commit(const KTDataBlock& data, int type, KTMessage::Priority priority) {
  KTMessage* message = KTMessage::create();
  message->type = type;
  message->data(data);
  const bool canWait = isFrame(type) && priority != KTMessage::UrgentPriority;
  if (queue_.enq(message, priority, canWait ? REST_MESSAGES : 0) != -1) return 0;
  message->destroy();
  return -1;
}

bool KTRTask::dataArrived() {
  return dataArrived_;
}

KTMessage* KTRTask::nextMessage() {
  KTClock* const clock = KTClock::instance();
  const KTClock::Span until = clock->elapsed() + std::chrono::seconds(TIMEOUT_SECONDS);
  if (isFlowing_ && !rest()) return nullptr;
  KTMessage* message = queue_.deq(timeValueOf(until - clock->elapsed()));
  isFlowing_ = message != nullptr && isFrame(message->type);
  return message;
}

// A rest saves nothing where none comes meanwhile, and delays a host that gives all it has.
bool KTRTask::rest() {
  if (framesAtOnce_ > 0) {
    --framesAtOnce_;
    return true;
  }
  const KTMessageQueue::Rest ended = queue_.rest(REST);
  if (ended == KTMessageQueue::MessageCame && queue_.size() >= REST_MESSAGES) {
    framesAtOnce_ = RUSH_FRAMES;
  } else if (ended == KTMessageQueue::TimeIsOver && queue_.empty()) {
    framesAtOnce_ = SLOW_FRAMES;
  }
  return ended != KTMessageQueue::QueueIsDisabled;
}

void KTRTask::drainQueue() {
  while (!queue_.empty()) {
    if (const KTMessage* message = queue_.deq(KTTimeValue::Unlimited)) message->destroy();
  }
}
