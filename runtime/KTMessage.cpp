#include "runtime/KTMessage.h"

KTMessage* KTMessage::create() {
  return new KTMessage;
}

void KTMessage::destroy() const {
  delete this;
}
