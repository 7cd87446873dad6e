#include "host/check/Finding.h"

#include <iterator>

namespace {

struct Words {
  const char* name;
  const char* text;
  const char* remedy;
};

/** By Finding::Kind. */
constexpr Words WORDS[] = {
    {"no-database", "the recorder has files and no database", "the database is made anew"},
    {"files-without-rows", "files of a session that has no row",
     "its rows are made from the files"},
    {"rows-without-files", "a session of which no footage is on the disk", "its rows are removed"},
    {"index-without-session", "index rows of a session that has neither row nor files",
     "they are removed"},
    {"two-sessions-one-id", "a second directory has files of the same session id",
     "they get an id of their own"},
    {"thrown-away", "files of a window of a recording by events that nobody has confirmed",
     "they are removed"},
    {"half-born-session", "the session's row has neither start nor end",
     "they are taken from the files; without any the row is removed"},
    {"no-end-time", "the session's row has no end time", "it is taken from the last frame"},
    {"wrong-start-time", "the session's start disagrees with its frames",
     "it is taken from the first frame"},
    {"wrong-end-time", "the session's end disagrees with its frames",
     "it is taken from the last frame"},
    {"unconfirmed", "the session was never confirmed and is not being recorded",
     "it is kept, and marked as having data"},
    {"marked-as-gone", "the session's row says that there are no files",
     "it is marked as having data"},
    {"wrong-directory", "the session's row names another directory than its files lie in",
     "the row is corrected"},
    {"no-settings", "the settings of the session are missing",
     "they are made from the sidecar file or the frames"},
    {"no-audio-header", "the header file of the sound is missing",
     "it is made from the sidecar file or a session like it"},
    {"damaged-audio-header", "the header file of the sound is damaged",
     "it is made from the sidecar file or a session like it"},
    {"missing-slice", "a slice in the middle of the session is missing: playback ends before it",
     "an empty file takes its place, so that playback goes on"},
    {"rows-in-missing-slice", "index rows point into a slice that is missing", "they are removed"},
    {"rows-behind-end", "index rows point behind the end of the slice", "they are removed"},
    {"rows-in-wrong-slice", "index rows point into the wrong slice", "they are corrected"},
    {"rows-at-no-record", "index rows point at no frame that playback can begin with",
     "they are corrected, or removed"},
    {"rows-with-wrong-time",
     "the times of index rows are not those of their frames, or do not rise",
     "they are corrected, or removed"},
    {"frames-without-row", "key frames have no index row", "the rows are added"},
    {"torn-tail", "the last record is cut short", "the tail is cut off"},
    {"garbage", "bytes that are no record: playback ends before them",
     "they are moved to a file of their own"},
    {"unreadable", "the slice cannot be read", ""},
    {"leftover", "what a repair that was cut off has left", "it is removed"},
};
static_assert(std::size(WORDS) == Finding::Leftover + 1);

const Words& wordsOf(Finding::Kind kind) {
  return WORDS[kind];
}

}  // namespace

const char* Finding::name() const {
  return wordsOf(kind).name;
}

const char* Finding::remedy() const {
  return wordsOf(kind).remedy;
}

std::string Finding::text() const {
  std::string where = session == 0 ? "" : "session " + std::to_string(session);
  if (slice) where += ", slice " + std::to_string(*slice);
  if (offset) where += " at " + std::to_string(*offset);
  std::string text = where.empty() ? "" : where + ": ";
  text += wordsOf(kind).text;
  std::string extra;
  if (count != 1) extra = std::to_string(count);
  if (bytes != 0) extra += (extra.empty() ? "" : ", ") + std::to_string(bytes) + " bytes";
  if (!detail.empty()) extra += (extra.empty() ? "" : ", ") + detail;
  return extra.empty() ? text : text + " (" + extra + ")";
}
