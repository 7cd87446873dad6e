#include "host/retain/StoredPiece.h"

#include <algorithm>
#include <filesystem>

#include "host/input/TimeText.h"
#include "runtime/KTCriticalCode.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned int NO_SUCH_TABLE = 1146;
constexpr unsigned int COLUMNS = 3;

/** Whether the server answered; a table that is missing has no rows. */
bool ask(KTR_DB_handle& handle, const KTString& query, KTDLList<KTString>& rows) {
  const KTCriticalCode guard(KTR_MYSQL_api::_staticMysqlMux);  // the error is this query's own
  handle.getQueryResultList(rows, query);
  return handle.lastError() == 0 || handle.lastError() == NO_SUCH_TABLE;
}

/** The slices of a session that have index rows, the one with the earliest row first. */
std::optional<std::vector<StoredPiece>> indexedSlices(const RecordedSession& session,
                                                      KTR_DB_handle& handle) {
  KTString query;
  query.format(
      "SELECT _fileIndex,MIN(_time),MAX(_time) FROM %s WHERE _id=%u GROUP BY _fileIndex "
      "ORDER BY MIN(_time)",
      KTR_DBTable::KTR_TableName[KTR_DBTable::TB_DATA_STREAMS].c_str(), session.id);
  KTDLList<KTString> rows;
  if (!ask(handle, query, rows)) return std::nullopt;
  std::vector<StoredPiece> slices;
  for (const KTString& row : rows) {
    const KTVector<KTString> columns = row.tokenize(',');
    if (columns.count() != COLUMNS) return std::nullopt;
    StoredPiece piece;
    piece.session = session.id;
    piece.stream = session.stream;
    piece.slice = columns[0].toUInt(0);
    piece.start = columns[1].toUInt(0);
    piece.end = columns[2].toUInt(0);
    piece.path = session.filePrefix + "F" + std::to_string(*piece.slice) + ".dat";
    std::error_code missing;
    const uint64_t bytes = fs::file_size(piece.path, missing);
    piece.bytes = missing ? 0 : bytes;
    slices.push_back(piece);
  }
  return slices;
}

}  // namespace

std::vector<StoredPiece> StoredPiece::of(const RecordedSession& session, KTR_DB_handle& handle) {
  std::optional<std::vector<StoredPiece>> indexed = indexedSlices(session, handle);
  if (!indexed) return {};
  std::vector<StoredPiece> pieces = std::move(*indexed);
  StoredPiece rest;
  rest.session = session.id;
  rest.stream = session.stream;
  rest.start = session.start;
  rest.end = session.end;
  rest.bytes = session.bytes;
  rest.path = session.filePrefix;
  if (!pieces.empty()) {
    rest.start = pieces.back().start;
    rest.end = std::max(rest.end, pieces.back().end);
    pieces.pop_back();
  }
  // Frames behind a slice's last indexed one reach up to the next slice.
  for (size_t i = 0; i < pieces.size(); ++i) {
    const long next = i + 1 < pieces.size() ? pieces[i + 1].start : rest.start;
    pieces[i].end = std::max(pieces[i].end, next);
    rest.bytes -= std::min(rest.bytes, pieces[i].bytes);
  }
  pieces.push_back(rest);
  return pieces;
}

std::string StoredPiece::text() const {
  const std::string part = slice ? "slice " + std::to_string(*slice) + " of " : "";
  return part + "session " + std::to_string(session) + ", stream " + std::to_string(stream) + ", " +
         TimeText::format(start) + " to " + TimeText::format(end);
}

bool StoredPiece::isOnDisk() const {
  std::error_code error;
  if (slice) return fs::exists(path, error);
  const fs::path prefix(path);
  const std::string begin = prefix.filename().string();
  for (fs::directory_iterator entry(prefix.parent_path(), error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().filename().string().starts_with(begin)) return true;
  }
  return false;
}
