#include "runtime/KTTask.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <utility>

#include "tests/support/ManualClock.h"

namespace {

class Job : public KTTask {
 public:
  explicit Job(std::function<void()> body) : body_(std::move(body)) {}
  ~Job() override {
    queue_.disable();
    wait();
  }
  int run() override {
    body_();
    return 0;
  }
  KTMessageQueue& queue() { return queue_; }

 private:
  std::function<void()> body_;
};

class KTTaskTest : public testing::Test {};

TEST_F(KTTaskTest, ConstructionStartsNothing) {
  std::atomic<bool> ran{false};
  {
    Job job([&] { ran = true; });
    job.wait();
  }
  EXPECT_FALSE(ran);
}

TEST_F(KTTaskTest, RunsOnAThreadOfItsOwn) {
  std::thread::id id = std::this_thread::get_id();
  Job job([&] { id = std::this_thread::get_id(); });
  job.start(false);
  job.wait();
  EXPECT_NE(id, std::this_thread::get_id());
}

TEST_F(KTTaskTest, WaitBlocksUntilRunHasReturned) {
  std::atomic<bool> done{false};
  Job job([&] {
    KTTask::Sleep(KTTimeValue(0, 5000));
    done = true;
  });
  job.start(false);
  job.wait();
  EXPECT_TRUE(done);
  job.wait();
}

TEST_F(KTTaskTest, TheDestructorEndsAThreadThatWaitsForMessages) {
  Job* self = nullptr;
  bool ended = false;
  {
    Job job([&] {
      EXPECT_EQ(self->queue().deq(KTTimeValue::Unlimited), nullptr);
      ended = true;
    });
    self = &job;
    job.start(false);
  }
  EXPECT_TRUE(ended);
}

TEST_F(KTTaskTest, SleepsOnTheClockInUse) {
  ManualClock clock;
  KTTask::Sleep(KTTimeValue(3, 500000));
  EXPECT_EQ(clock.sleeps(), std::vector<KTClock::Span>{std::chrono::microseconds(3500000)});
}

TEST_F(KTTaskTest, HasANameThatATaskOverrides) {
  class Named : public Job {
   public:
    using Job::Job;
    [[nodiscard]] KTString name() const override { return "Named"; }
  };
  const Job plain([] {});
  const Named named([] {});
  const KTTask& task = named;
  EXPECT_STREQ(plain.name().c_str(), "KTTask");
  EXPECT_STREQ(task.name().c_str(), "Named");
}

}  // namespace
