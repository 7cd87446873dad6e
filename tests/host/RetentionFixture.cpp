#include "tests/host/RetentionFixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "host/input/TimeText.h"

namespace fs = std::filesystem;

namespace {

uint64_t bytesBelow(const std::string& directory) {
  uint64_t bytes = 0;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file()) bytes += entry.file_size();
  }
  return bytes;
}

}  // namespace

RetentionFixture::RetentionFixture() : handle_(factory_.createDB("keep")) {
  fs::create_directories(directory());
  (void)handle_->createDataStreamTable(1000000);
}

RetentionFixture::~RetentionFixture() {
  (void)factory_.db_do_query("DROP DATABASE ktr_keep");
  factory_.destroy(handle_);
}

unsigned int RetentionFixture::record(unsigned int stream, long start, unsigned int slices) {
  return recordInto(directory() + "/" + dayOf(start) + "/", stream, start, slices);
}

unsigned int RetentionFixture::recordInto(const std::string& directory, unsigned int stream,
                                          long start, unsigned int slices) {
  fs::create_directories(directory);
  KTRRecorderSessionRow row;
  row.streamID = stream;
  row.start_time = static_cast<unsigned int>(start);
  row.end_time = static_cast<unsigned int>(start + slices * SLICE_TIME);
  row.dataAvailable = 1;
  row.storage = KTString(directory);
  row.streamType = STREAM_VIDEO;
  const unsigned int id = handle_->recordSessionTable()->addRow(row);
  for (unsigned int i = 0; i < slices; ++i) {
    std::ofstream(slicePath(id, i)) << std::string(SLICE, 'x');
    for (const long time : {start + i * SLICE_TIME, start + i * SLICE_TIME + SLICE_TIME / 2}) {
      KTRVideoStreamRow frame;
      frame.setValues(static_cast<int>(id), 0, time, static_cast<unsigned char>(i), 0);
      EXPECT_EQ(0U, handle_->streamInstance(id)->addRow(frame));
    }
  }
  return id;
}

RetentionRun::Result RetentionFixture::pass(RetentionRun::Options options, bool recording) {
  deleted_.clear();
  reasons_.clear();
  options.report = [this](const RetentionRun::Deletion& deletion) {
    const StoredPiece& piece = deletion.piece;
    deleted_.push_back(std::to_string(piece.session) +
                       (piece.slice ? "." + std::to_string(*piece.slice) : ""));
    reasons_.push_back(deletion.reason);
  };
  return RetentionRun(*handle_, options).pass(recording);
}

RetentionRun::Options RetentionFixture::optionsOf(const RetentionPolicy& policy) {
  RetentionRun::Options options;
  options.directory = directory();
  options.policy = policy;
  options.space = [this](const std::string& path) {
    const uint64_t whole = diskSlices_ * SLICE;
    return FileSystemSpace{whole, whole - std::min(whole, bytesBelow(path))};
  };
  return options;
}

RetentionPolicy RetentionFixture::nothing() {
  RetentionPolicy policy;
  policy.minFree = FreeFloor::parse("0");
  return policy;
}

RetentionPolicy RetentionFixture::maxSlices(unsigned int slices) {
  RetentionPolicy policy = nothing();
  policy.maxBytes = slices * SLICE;
  return policy;
}

RetentionPolicy RetentionFixture::maxAge(long seconds) {
  RetentionPolicy policy = nothing();
  policy.maxAge = seconds;
  return policy;
}

RetentionPolicy RetentionFixture::minFreeSlices(unsigned int slices) {
  RetentionPolicy policy;
  policy.minFree = FreeFloor::parse(std::to_string(slices * SLICE));
  return policy;
}

std::string RetentionFixture::prefixOf(unsigned int session) {
  return handle_->getFullPrefixFileName(static_cast<int>(session)).c_str();
}

std::string RetentionFixture::slicePath(unsigned int session, unsigned int slice) {
  return prefixOf(session) + "F" + std::to_string(slice) + ".dat";
}

std::string RetentionFixture::onDisk() {
  std::vector<std::string> found;
  for (const auto& entry : fs::recursive_directory_iterator(directory())) {
    const std::string name = entry.path().filename().string();
    const size_t id = name.find("_R");
    const size_t slice = name.find("_F");
    if (id == std::string::npos || slice == std::string::npos) continue;
    found.push_back(name.substr(id + 2, slice - id - 2) + "." +
                    name.substr(slice + 2, name.find('.') - slice - 2));
  }
  std::sort(found.begin(), found.end());
  std::string text;
  for (const std::string& each : found) text += (text.empty() ? "" : " ") + each;
  return text;
}

std::string RetentionFixture::indexed() {
  return joined("SELECT DISTINCT CONCAT(_id,'.',_fileIndex) FROM dataStreams ORDER BY 1");
}

std::string RetentionFixture::rows() {
  return joined("SELECT id FROM recordSessions ORDER BY id");
}

std::string RetentionFixture::joined(const std::string& query) {
  KTDLList<KTString> list;
  handle_->getQueryResultList(list, KTString(query));
  std::string text;
  for (const KTString& each : list) text += (text.empty() ? "" : " ") + std::string(each.view());
  return text;
}

std::string RetentionFixture::dayOf(long time) {
  return TimeText::format(time, "%Y/%m/%d");
}
