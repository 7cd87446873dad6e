#include "host/media/MediaFile.h"

#include <filesystem>

#include "host/media/LibAv.h"
#include "host/media/MediaError.h"

MediaFile::MediaFile(const std::string& path) : path_(path) {
  const std::string url = path == "-" ? "pipe:1" : "file:" + path;
  const int result = avio_open(&context_, url.c_str(), AVIO_FLAG_WRITE);
  if (result < 0) {
    throw MediaError("cannot write " + path_ + ": " + libAvError(result),
                     "choose another place for the output");
  }
}

MediaFile::~MediaFile() {
  static_cast<void>(closeFile());
}

int MediaFile::closeFile() {
  const bool untouched = context_ != nullptr && avio_tell(context_) == 0;
  const int result = avio_closep(&context_);
  std::error_code ignored;
  if (untouched && path_ != "-" && std::filesystem::is_regular_file(path_, ignored)) {
    std::filesystem::remove(path_, ignored);
  }
  return result;
}

void MediaFile::check(int result) const {
  const int error = result < 0 ? result : context_ != nullptr ? context_->error : 0;
  if (error >= 0) return;
  const std::string name = path_ == "-" ? "the standard output" : path_;
  const char* advice = error == AVERROR(EPIPE)    ? "the program that reads it has ended"
                       : error == AVERROR(ENOSPC) ? "make room there or choose another place"
                                                  : "choose another place for the output";
  throw MediaError("cannot write " + name + ": " + libAvError(error), advice);
}

void MediaFile::close() {
  if (context_ == nullptr) return;
  avio_flush(context_);
  check(0);
  check(closeFile());
}
