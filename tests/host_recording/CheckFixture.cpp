#include "tests/host_recording/CheckFixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "host/check/SliceScanner.h"
#include "tests/support/FileText.h"

CheckRun::Options CheckFixture::options(CheckLevel level) const {
  CheckRun::Options options;
  options.directory = dir_.path();
  options.database = "ktr_cam";
  options.level = level;
  return options;
}

CheckFixture::Findings CheckFixture::findings(CheckLevel level, bool recording) {
  Findings found;
  CheckRun::Options run = options(level);
  run.recording = recording;
  run.report = [&found](const Finding& finding) {
    found.push_back(finding.name());
    if (finding.session != 0) found.back() += " " + std::to_string(finding.session);
    if (finding.slice) found.back() += "." + std::to_string(*finding.slice);
  };
  (void)CheckRun(factory_->dbIsLoaded("cam"), run).run();
  return found;
}

void CheckFixture::expectClean(bool recording) {
  for (const CheckLevel level : {CheckLevel::Files, CheckLevel::Index, CheckLevel::Full}) {
    EXPECT_EQ(Findings{}, findings(level, recording)) << static_cast<int>(level);
  }
}

void CheckFixture::beginSlices() {
  KTRStreamRecordParams small = params();
  small.sliceSize = 200;
  begin(small);
}

void CheckFixture::recordSlices() {
  pass(300);
  beginSlices();
  record(10, 10, 400);
  end();
}

std::string CheckFixture::read(const std::string& path) {
  return contents(path);
}

void CheckFixture::write(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

void CheckFixture::cut(const std::string& path, uint64_t size) {
  std::filesystem::resize_file(path, size);
}

void CheckFixture::append(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::app) << bytes;
}

void CheckFixture::overwrite(const std::string& path, uint64_t offset, const std::string& bytes) {
  std::string all = read(path);
  all.replace(offset, bytes.size(), bytes);
  write(path, all);
}

std::vector<uint64_t> CheckFixture::bordersOf(const std::string& path) {
  std::vector<uint64_t> borders{0};
  SliceScanner scanner(path);
  while (scanner.next() == SliceScanner::Record) borders.push_back(scanner.record().end());
  return borders;
}
