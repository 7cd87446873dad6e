// The hand-over of frames from the host to a session's thread.
#include <benchmark/benchmark.h>

#include <thread>

#include "bench/BenchCheck.h"
#include "runtime/KTMessageQueue.h"

namespace {

constexpr int MESSAGES = 1000;

bool put(KTMessageQueue& queue, const KTDataBlock& frame) {
  KTMessage* message = KTMessage::create();
  message->data(frame);
  return queue.enq(message, KTMessage::NormalPriority) == 0;
}

bool take(KTMessageQueue& queue) {
  const KTMessage* message = queue.deq(KTTimeValue::Unlimited);
  if (message == nullptr) return false;
  message->destroy();
  return true;
}

void KTMessageQueueOneThread(benchmark::State& state) {
  KTMessageQueue queue;
  const KTDataBlock frame(20000);
  bool handed = true;
  for ([[maybe_unused]] auto iteration : state) {
    handed = put(queue, frame) && take(queue) && handed;
  }
  BenchCheck::that(state, handed && queue.empty(), "each message is handed over");
  state.SetItemsProcessed(state.iterations());
}

void KTMessageQueueTwoThreads(benchmark::State& state) {
  KTMessageQueue queue;
  const KTDataBlock frame(20000);
  int64_t taken = 0;
  for ([[maybe_unused]] auto iteration : state) {
    std::thread session([&queue, &taken] {
      for (int i = 0; i < MESSAGES; ++i) taken += take(queue) ? 1 : 0;
    });
    for (int i = 0; i < MESSAGES; ++i) (void)put(queue, frame);
    session.join();
  }
  BenchCheck::that(state, taken == state.iterations() * MESSAGES, "each message is handed over");
  state.SetItemsProcessed(taken);
}

BENCHMARK(KTMessageQueueOneThread);
BENCHMARK(KTMessageQueueTwoThreads)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace
