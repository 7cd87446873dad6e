#include "host/record/SessionRows.h"

#include <set>

#include "handles/KTR_DB_factory.h"

namespace {

constexpr long NEAR_SECONDS = 600;

}  // namespace

KTRRecordSessionTable* SessionRows::table() const {
  KTR_DB_factory* factory = KTR_DB_factory::instance();
  KTR_DB_handle* db = factory == nullptr ? nullptr : factory->db_instance(recorder_);
  return db == nullptr ? nullptr : db->recordSessionTable();
}

void SessionRows::setFreeStart(unsigned int id, unsigned int stream, long start) const {
  KTRRecordSessionTable* rows = table();
  KTRRecorderSessionRow row;
  if (rows == nullptr || !rows->getRecordSessionRow(id, row)) return;
  KTString where;
  where.format("WHERE streamID=%u AND id<>%u AND start_time>=%ld AND start_time<%ld", stream, id,
               start, start + NEAR_SECONDS);
  KTVector<KTString> others;
  rows->getRecordSessionList(others, where, false);
  std::set<long> taken;
  for (unsigned int i = 0; i < others.count(); ++i) {
    const KTVector<KTString> columns = others[i].tokenize(',');
    if (columns.count() > 3) taken.insert(static_cast<long>(columns[3].toUInt(0)));
  }
  if (row.start_time != 0 && !taken.contains(start)) return;
  long free = start;
  while (taken.contains(free)) ++free;
  rows->updateStartTime(id, free);
  rows->updateDataBase(true);
}

void SessionRows::setEnd(unsigned int id, long end) const {
  KTRRecordSessionTable* rows = table();
  if (rows == nullptr) return;
  rows->updateEndTime(id, end, 0);  // step E2
  rows->updateDataBase(true);
}
