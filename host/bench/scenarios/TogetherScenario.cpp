#include "host/bench/scenarios/TogetherScenario.h"

#include <thread>

#include "host/bench/BenchRecording.h"
#include "host/bench/FrameClock.h"
#include "host/bench/ResourceMeter.h"

namespace {
constexpr long DAY_SECONDS = 86400;
constexpr std::chrono::milliseconds LOOK_AGAIN{500};
}  // namespace

std::string TogetherScenario::description() const {
  return std::to_string(STREAMS) + " streams recorded for " + std::to_string(seconds_) + " s at " +
         std::to_string(speed_) + " times their pace, a player follows each";
}

Measurement TogetherScenario::run() {
  const std::string recorder = "together" + std::to_string(++runs_);
  KTR_DB_handle& db = place_.recorder(recorder);
  (void)place_.clip();
  const long start = BenchRecording::noonOfYesterday();
  const std::uint64_t before = ResourceMeter::residentBytes();
  Measurement result;
  FrameClock clock(start);
  const ResourceMeter meter(place_.serverPid());
  Sessions sessions;
  Players players;
  for (unsigned char stream = 0; stream < STREAMS; ++stream) {
    sessions.push_back(std::make_unique<SessionFeeding>(place_, recorder, stream, start));
    players.push_back(
        std::make_unique<FollowingPlayer>(recorder, stream, start, LOOK_AGAIN / speed_));
  }
  feed(sessions, clock);
  result.addResident(before, ResourceMeter::residentBytes());
  for (const auto& session : sessions) {
    result.expectEqual("frames stored", frames(), session->finish());
  }
  db.recordSessionTable()->updateDataBase(true);
  for (const auto& player : players) player->finish();
  meter.read(result);
  collect(players, result);
  result.expectEqual("index rows", STREAMS * BenchClip::indexRows(frames()),
                     BenchPlace::rows(db, KTR_DBTable::TB_DATA_STREAMS));
  return result;
}

void TogetherScenario::feed(Sessions& sessions, FrameClock& clock) const {
  const auto begin = Latencies::Clock::now();
  for (std::uint64_t number = 0; number < frames(); ++number) {
    const std::uint64_t passedMs = number * BenchClip::FRAME_MS;
    std::this_thread::sleep_until(begin + std::chrono::microseconds(passedMs * 1000 / speed_));
    clock.moveTo(static_cast<std::int64_t>(passedMs));
    const long firstStamp = clock.beginning() % DAY_SECONDS * 1000;
    for (const auto& session : sessions) {
      const auto stampMs =
          static_cast<std::uint32_t>(firstStamp) + static_cast<std::uint32_t>(passedMs);
      if (!session->commit(place_.clip().frame(number, stampMs))) return;
    }
  }
}

void TogetherScenario::collect(const Players& players, Measurement& result) const {
  for (const auto& player : players) {
    result.expectEqual("frames played", frames(), player->frames());
    result.expectEqual("frames out of their order", 0, player->displaced());
    result.latencies.add(player->latencies());
    result.operations += player->frames();
    result.bytes += player->bytes();
  }
}
