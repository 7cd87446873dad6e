#pragma once

#include "db/KTRResult.h"

/** A KTRResult that frees its set when it goes out of scope. The rows read from it go with it. */
class KTROwnedResult : public KTRResult {
 public:
  KTROwnedResult() = default;
  KTROwnedResult(const KTROwnedResult&) = delete;
  KTROwnedResult& operator=(const KTROwnedResult&) = delete;
  ~KTROwnedResult() { free(); }
};
