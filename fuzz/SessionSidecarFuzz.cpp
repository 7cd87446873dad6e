// SessionSidecar, of which a repair makes rows, and the header of sound in it. An input is the
// file. Whatever is in it, what is taken fits the columns of the tables.
#include <fstream>

#include "db/streamTypes.h"
#include "fuzz/FuzzRequire.h"
#include "host/media/AudioHeader.h"
#include "host/record/SessionSidecar.h"
#include "tests/support/TempDir.h"

namespace {

/** The path of a file in the directory of this process. */
std::string pathOf(const std::string& name) {
  static const TempDir directory;
  return directory.entry(name).c_str();
}

void checkLimits(const SessionSidecar& sidecar) {
  fuzzRequire(sidecar.stream <= 255 && sidecar.fps <= 255 && sidecar.type <= STREAM_AUDIO,
              "numbers fit their columns");
  fuzzRequire(sidecar.name.size() <= 19, "a name fits its column");
  fuzzRequire(!sidecar.settings.empty() && sidecar.settings.size() <= 255,
              "settings fit their column");
}

void writeAgain(const SessionSidecar& sidecar) {
  const std::string path = pathOf("w.json");
  fuzzRequire(sidecar.write(path), "a sidecar file is written");
  fuzzRequire(SessionSidecar::read(path) == sidecar, "a sidecar file survives");
}

void checkHeader(const SessionSidecar& sidecar) {
  MediaBytes bytes(sidecar.audioHeader);
  const std::optional<AudioHeader> header = AudioHeader::take(bytes);
  if (!header) return;
  const KTDataBlock encoded = header->encode();
  MediaBytes again(encoded.data, encoded.size);
  fuzzRequire(AudioHeader::take(again) == header && again.empty(), "a header of sound survives");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = pathOf("r.json");
  std::ofstream(path, std::ios::binary) << fuzzText({data, size});
  const std::optional<SessionSidecar> sidecar = SessionSidecar::read(path);
  if (!sidecar) return 0;
  checkLimits(*sidecar);
  writeAgain(*sidecar);
  checkHeader(*sidecar);
  return 0;
}
