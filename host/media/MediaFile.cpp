#include "host/media/MediaFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "host/media/LibAv.h"
#include "host/media/MediaError.h"

namespace {

// What libav collects; small enough to stay in the processor's nearest cache.
constexpr int BUFFER_BYTES = 32 * 1024;
constexpr mode_t FILE_MODE = 0666;  // the umask takes from it

UniqueFd opened(const std::string& path) {
  const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
  UniqueFd file(path == "-" ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)
                            : open(path.c_str(), flags, FILE_MODE));
  if (file) return file;
  throw MediaError("cannot write " + path + ": " + libAvError(AVERROR(errno)),
                   "choose another place for the output");
}

}  // namespace

MediaFile::MediaFile(const std::string& path, BlockOutput::Pace pace)
    : path_(path), output_(opened(path), pace) {
  auto* const buffer = static_cast<unsigned char*>(allocated(av_malloc(BUFFER_BYTES)));
  context_ = allocated(avio_alloc_context(buffer, BUFFER_BYTES, 1, this, nullptr, write, seek));
  context_->seekable = output_.seekable() ? AVIO_SEEKABLE_NORMAL : 0;
  context_->min_packet_size = BUFFER_BYTES;  // else each packet would be handed on by itself
}

MediaFile::~MediaFile() {
  closeFile();
}

int MediaFile::write(void* file, std::uint8_t* bytes, int count) {
  BlockOutput& output = static_cast<MediaFile*>(file)->output_;
  return output.write(bytes, static_cast<std::size_t>(count)) ? count : AVERROR(errno);
}

std::int64_t MediaFile::seek(void* file, std::int64_t offset, int whence) {
  BlockOutput& output = static_cast<MediaFile*>(file)->output_;
  if (whence == AVSEEK_SIZE) return output.size();
  const std::int64_t from = whence == SEEK_CUR   ? output.place()
                            : whence == SEEK_END ? output.size()
                                                 : 0;
  return output.seek(from + offset) ? from + offset : AVERROR(errno);
}

void MediaFile::closeFile() {
  if (context_ == nullptr) return;
  avio_flush(context_);
  const bool untouched = avio_tell(context_) == 0;
  av_freep(&context_->buffer);
  avio_context_free(&context_);
  std::error_code ignored;
  if (untouched && path_ != "-" && std::filesystem::is_regular_file(path_, ignored)) {
    std::filesystem::remove(path_, ignored);
  }
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
  if (!output_.close()) check(AVERROR(errno));
  closeFile();
}
