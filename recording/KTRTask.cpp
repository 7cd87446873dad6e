#include "recording/KTRTask.h"

namespace {

bool isFrame(int type) {
  return (type & KTRMessageType::FrameData) != 0;
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
  if (isFlowing_) rest();
  KTMessage* message = queue_.deq(KTTimeValue(TIMEOUT_SECONDS, 0));
  isFlowing_ = message != nullptr && isFrame(message->type);
  return message;
}

// Frames that come faster than any camera gives them are waited for by somebody.
void KTRTask::rest() {
  if (framesToRush_ > 0) {
    --framesToRush_;
    return;
  }
  queue_.rest(REST);
  if (queue_.size() >= REST_MESSAGES) framesToRush_ = RUSH_FRAMES;
}

void KTRTask::drainQueue() {
  while (!queue_.empty()) {
    if (const KTMessage* message = queue_.deq(KTTimeValue::Unlimited)) message->destroy();
  }
}
