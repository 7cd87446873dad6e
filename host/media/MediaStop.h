#pragma once

#include <atomic>

/**
 * A request to stop: the object's own, or that of a flag which many objects share (the one that a
 * signal handler sets). Any thread; request() also from a signal handler.
 */
class MediaStop {
 public:
  /** shared may be null and must outlive this object otherwise. */
  explicit MediaStop(const std::atomic<bool>* shared = nullptr) : shared_(shared) {}

  void request() { own_.store(true); }
  [[nodiscard]] bool requested() const {
    return own_.load() || (shared_ != nullptr && shared_->load());
  }

 private:
  std::atomic<bool> own_{false};
  const std::atomic<bool>* shared_;
};
