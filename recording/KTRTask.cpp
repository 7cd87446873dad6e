#include "recording/KTRTask.h"

KTRTask::KTRTask() = default;

KTRTask::~KTRTask() = default;

int KTRTask::commit(const KTDataBlock& data, int type, KTMessage::Priority priority) {
  KTMessage* message = KTMessage::create();
  message->type = type;
  message->data(data);
  if (queue_.enq(message, priority) != -1) return 0;
  message->destroy();
  return -1;
}

bool KTRTask::dataArrived() {
  return dataArrived_;
}

void KTRTask::drainQueue() {
  while (!queue_.empty()) {
    if (const KTMessage* message = queue_.deq(KTTimeValue::Unlimited)) message->destroy();
  }
}
