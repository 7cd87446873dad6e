#include "host/view/RetentionReport.h"

#include "host/ByteText.h"

using nlohmann::ordered_json;

void RetentionReport::add(const RetentionRun::Deletion& deletion) {
  if (!json_) {
    out_ << deletion.line() << std::endl;
    return;
  }
  const StoredPiece& piece = deletion.piece;
  ordered_json entry{{"what", piece.slice ? "slice" : "session"},
                     {"session", piece.session},
                     {"stream", piece.stream}};
  if (piece.slice) entry["slice"] = *piece.slice;
  entry["start"] = piece.start;
  entry["end"] = piece.end;
  entry["bytes"] = piece.bytes;
  entry["reason"] = deletion.reason;
  entry["path"] = piece.path;
  list_.push_back(std::move(entry));
}

void RetentionReport::finish(const std::string& recorder, bool dryRun,
                             const RetentionRun::Result& result) {
  if (json_) {
    out_ << ordered_json{{"recorder", recorder},
                         {"dryRun", dryRun},
                         {"deleted", list_},
                         {"deletedBytes", result.deletedBytes},
                         {"problem", result.problem}}
                .dump(2, ' ', false, ordered_json::error_handler_t::replace)
         << "\n";
  } else {
    err_ << (dryRun ? "would delete " : "deleted ") << result.deletions
         << (result.deletions == 1 ? " piece, " : " pieces, ")
         << ByteText::format(result.deletedBytes) << std::endl;
  }
  if (!result.problem.empty()) err_ << "ktr: " << result.problem << std::endl;
}
