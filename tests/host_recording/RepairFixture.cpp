#include "tests/host_recording/RepairFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "host/check/SliceScanner.h"

namespace fs = std::filesystem;

RepairRun::Result RepairFixture::repair() {
  RepairRun run({options(CheckLevel::Full), stream_, true});
  (void)run.survey(factory_->dbIsLoaded("cam"));
  const RepairRun::Result result = run.mend(*db());
  for (const Finding& finding : result.left) ADD_FAILURE() << finding.name() << finding.text();
  for (const std::string& problem : result.problems) ADD_FAILURE() << problem;
  EXPECT_EQ(Findings{}, findings());
  return result;
}

void RepairFixture::expectNothingLost() {
  repair();
  expectEverySecondPlays();
}

void RepairFixture::dropDatabase() {
  if (KTR_DB_handle* handle = factory_->dbIsLoaded("cam")) factory_->destroy(handle);
  MariaDbServer::instance().dropDatabases();
}

std::vector<std::string> RepairFixture::slices(unsigned int session) const {
  std::vector<std::string> found;
  for (unsigned int i = 0; i < 256; ++i) {
    if (fs::exists(slicePath(session, i))) found.push_back(slicePath(session, i));
  }
  return found;
}

std::vector<std::string> RepairFixture::records(unsigned int session) const {
  std::vector<std::string> found;
  for (const std::string& path : slices(session)) {
    const std::string bytes = read(path);
    SliceScanner scanner(path);
    for (auto item = scanner.next(); item != SliceScanner::End; item = scanner.next()) {
      if (item != SliceScanner::Record) continue;
      found.push_back(bytes.substr(scanner.range().begin, scanner.range().size()));
    }
  }
  return found;
}

std::vector<std::string> RepairFixture::played(unsigned int session) {
  std::vector<std::string> found;
  unsigned char first = 0;
  while (first < 255 && !fs::exists(slicePath(session, first))) ++first;
  KTRFile file(KTString(prefix(session)), first, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
  KTDataBlock frame;
  while (file.readKTRData(frame) > 0) {
    found.emplace_back(reinterpret_cast<const char*>(frame.data), frame.size);
  }
  return found;
}

std::vector<std::string> RepairFixture::tables() {
  std::vector<std::string> all = rows("SELECT * FROM dataStreams ORDER BY _id,_time");
  for (const char* table : {"recordSessions", "streamSettings"}) {
    for (std::string& row : rows(std::string("SELECT * FROM ") + table + " ORDER BY id")) {
      all.push_back(std::move(row));
    }
  }
  return all;
}

std::vector<std::string> RepairFixture::files() const {
  std::vector<std::string> all;
  for (const auto& entry : fs::recursive_directory_iterator(dir_.path())) {
    if (entry.is_regular_file()) all.push_back(entry.path().string() + read(entry.path()));
  }
  std::sort(all.begin(), all.end());
  return all;
}
