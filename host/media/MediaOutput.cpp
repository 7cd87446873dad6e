#include "host/media/MediaOutput.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "host/media/LibAv.h"
#include "host/media/MediaContainer.h"
#include "host/media/MediaError.h"
#include "host/media/MediaFile.h"

namespace {

struct NamedForm {
  std::string_view extension;
  const char* container;            // libavformat's name; null for the bytes alone
  std::optional<MediaCodec> codec;  // the only one that goes in
};

constexpr std::array<NamedForm, 9> FORMS = {{
    {".mp4", "mp4", {}},
    {".mkv", "matroska", {}},
    {".h264", nullptr, MediaCodec::H264},
    {".264", nullptr, MediaCodec::H264},
    {".h265", nullptr, MediaCodec::Hevc},
    {".265", nullptr, MediaCodec::Hevc},
    {".hevc", nullptr, MediaCodec::Hevc},
    {".mjpeg", nullptr, MediaCodec::Mjpeg},
    {".mjpg", nullptr, MediaCodec::Mjpeg},
}};

const NamedForm& formOf(const std::string& path) {
  static constexpr NamedForm standardOutput = {"", nullptr, {}};
  if (path == "-") return standardOutput;
  const auto* const form = std::find_if(FORMS.begin(), FORMS.end(), [&](const NamedForm& each) {
    return path.size() > each.extension.size() && path.ends_with(each.extension);
  });
  if (form == FORMS.end()) {
    throw MediaError("the name " + path + " does not say what to write",
                     "let it end in .mp4, .mkv, .h264, .h265 or .mjpeg, or give - for a pipe");
  }
  return *form;
}

const NamedForm& formOf(const std::string& path, MediaCodec codec) {
  const NamedForm& form = formOf(path);
  if (form.codec.value_or(codec) == codec) return form;
  throw MediaError(path + " cannot hold " + mediaCodecName(codec) + " video",
                   "let the name end in .mp4 or .mkv, or in the codec's own name");
}

// 0, or the errno that making or emptying the file would meet.
int obstacleAt(const std::string& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) return EISDIR;
  if (std::filesystem::exists(path, ignored)) return access(path.c_str(), W_OK) == 0 ? 0 : errno;
  const std::string folder = std::filesystem::path(path).parent_path().string();
  return access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

/** The media bytes and nothing else, each frame handed on at once. */
class RawForm : public MediaOutput::Form {
 public:
  explicit RawForm(const std::string& path) : file_(path, BlockOutput::AtOnce) {}

  void write(std::int64_t, const KTRVideoFrame& frame) override {
    const KTDataBlock payload = frame.payload();
    avio_write(file_.context(), payload.data, static_cast<int>(payload.size));
    avio_flush(file_.context());
    file_.check(0);
  }
  void writeAudio(const AudioPacket&) override {}
  void finish() override { file_.close(); }

 private:
  MediaFile file_;
};

bool isVideoOf(MediaCodec codec, KTRFrameFormat::Kind kind) {
  if (codec == MediaCodec::Mjpeg) return kind == KTRFrameFormat::Jpeg;
  return kind == KTRFrameFormat::Key || kind == KTRFrameFormat::Delta;
}

}  // namespace

MediaOutput::Form::~Form() = default;

MediaOutput::MediaOutput(const std::string& path, MediaCodec codec, const AudioHeader* audio)
    : codec_(codec) {
  const NamedForm& form = formOf(path, codec);
  if (form.container == nullptr) {
    form_ = std::make_unique<RawForm>(path);
  } else {
    form_ = std::make_unique<MediaContainer>(path, form.container, codec, audio);
  }
}

MediaOutput::~MediaOutput() = default;

void MediaOutput::checkName(const std::string& path) {
  static_cast<void>(formOf(path));
  if (const int obstacle = path == "-" ? 0 : obstacleAt(path)) {
    throw MediaError("cannot write " + path + ": " + std::generic_category().message(obstacle),
                     "choose another place for the output");
  }
}

void MediaOutput::checkName(const std::string& path, MediaCodec codec) {
  static_cast<void>(formOf(path, codec));
}

void MediaOutput::write(std::int64_t stampMs, const KTRVideoFrame& frame) {
  if (!isVideoOf(codec_, frame.kind())) return;
  if (frames_ == 0 && frame.kind() == KTRFrameFormat::Delta) return;
  form_->write(stampMs, frame);
  ++frames_;
}

bool MediaOutput::holdsAudio(const std::string& path) {
  return formOf(path).container != nullptr;
}

// Matroska holds all kinds that are stored; libavformat does not say so of G.711.
bool MediaOutput::holdsAudio(const std::string& path, AudioCodec codec) {
  if (!holdsAudio(path)) return false;
  if (path.ends_with(".mkv")) return true;
  return codec != AudioCodec::PcmAlaw && codec != AudioCodec::PcmMulaw;
}

void MediaOutput::writeAudio(const AudioPacket& packet) {
  form_->writeAudio(packet);
}

void MediaOutput::finish() {
  form_->finish();
}
