#include "runtime/KTRDBName.h"

namespace {
constexpr const char* PREFIX = "ktr_";
}

KTString KTRDBName(const KTString& name) {
  if (name.view().substr(0, 4) == PREFIX) return name;
  return KTString(PREFIX) + name;
}
