#include "host/bench/StoredPast.h"

#include <array>
#include <cstdio>

#include "db/KTRVideoSettingsRow.h"
#include "host/HostError.h"
#include "host/bench/BenchClip.h"

namespace {

// A statement of a few thousand rows: longer ones are no faster.
constexpr size_t STATEMENT_BYTES = 256 << 10;

[[noreturn]] void fail(const char* what) {
  throw failure(std::string("cannot write ") + what, "see the messages above");
}

}  // namespace

StoredPast::StoredPast(KTR_DB_handle& recorder) : recorder_(recorder) {
  const KTRVideoSettingsRow settings("bench", BenchClip::FRAME_RATE, 0, "h264", "640x360", "");
  recorder_.settingsTable()->addKTRRow(settings, KTR_DBTable::TB_STREAM_SETTINGS);
  const int id = recorder_.settingsTable()->getSettingsID(settings);
  if (id == -1 || recorder_.createDataStreamTable(0) == nullptr) fail("settings");
  settingsId_ = static_cast<unsigned int>(id);
}

unsigned int StoredPast::addSession(const std::string& directory, unsigned int stream, long start,
                                    long end) {
  KTRRecorderSessionRow row;
  row.streamID = stream;
  row.settingsID = settingsId_;
  row.start_time = static_cast<std::uint32_t>(start);
  row.end_time = static_cast<std::uint32_t>(end);
  row.dataAvailable = 1;
  row.storage = KTString(directory);
  row.streamType = STREAM_VIDEO;
  row.realFps = BenchClip::FRAME_RATE;
  const unsigned int id = recorder_.recordSessionTable()->addRow(row);
  if (id == ~0U || id == 0) fail("a record session");
  return id;
}

void StoredPast::addRow(unsigned int session, unsigned int offset, long time, unsigned int slice) {
  constexpr unsigned int DELAY_USEC = 1'000'000 / BenchClip::FRAME_RATE;
  std::array<char, 80> row{};
  const int length =
      std::snprintf(row.data(), row.size(), "%c(%u,%u,%ld,%u,%u)", rows_.empty() ? ' ' : ',',
                    session, offset, time, slice, DELAY_USEC);
  rows_.append(row.data(), static_cast<size_t>(length));
  if (rows_.size() >= STATEMENT_BYTES) finish();
}

void StoredPast::finish() {
  if (rows_.empty()) return;
  const KTString table = KTR_DBTable::KTR_TableName[KTR_DBTable::TB_DATA_STREAMS];
  if (recorder_.insert_row(KTString("VALUES") + KTString(rows_), table, false) != 0) {
    fail("index rows");
  }
  rows_.clear();
}
