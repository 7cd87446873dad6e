#include "host/media/AnnexBConverter.h"

#include <algorithm>
#include <cstring>

#include "host/media/LibAv.h"
#include "host/media/MediaError.h"

namespace {

bool beginsWithStartCode(MediaBytes bytes) {
  const size_t zeros = static_cast<size_t>(
      std::find_if(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte != 0; }) -
      bytes.begin());
  return (zeros == 2 || zeros == 3) && zeros < bytes.size() && bytes[zeros] == 1;
}

LibAvOwner<AVBSFContext> filterFor(MediaCodec codec, MediaBytes header) {
  const bool hevc = codec == MediaCodec::Hevc;
  AVBSFContext* filter = nullptr;
  const char* name = hevc ? "hevc_mp4toannexb" : "h264_mp4toannexb";
  if (av_bsf_alloc(av_bsf_get_by_name(name), &filter) < 0) throw std::bad_alloc();
  filter->par_in->codec_type = AVMEDIA_TYPE_VIDEO;
  filter->par_in->codec_id = libAvCodecId(codec);
  filter->par_in->extradata =
      static_cast<uint8_t*>(allocated(av_mallocz(header.size() + AV_INPUT_BUFFER_PADDING_SIZE)));
  filter->par_in->extradata_size = static_cast<int>(header.size());
  std::memcpy(filter->par_in->extradata, header.data(), header.size());
  return LibAvOwner<AVBSFContext>(filter);
}

}  // namespace

void AnnexBConverter::setHeader(MediaBytes header, const std::string& name) {
  lengthSize_ = 0;
  headerSets_.assign(header.begin(), header.end());
  if (codec_ == MediaCodec::Mjpeg || header.empty() || beginsWithStartCode(header)) return;

  const size_t lengthByte = codec_ == MediaCodec::Hevc ? 21 : 4;
  const auto filter = filterFor(codec_, header);
  if (header.size() <= lengthByte || av_bsf_init(filter.get()) < 0) {
    throw MediaError(name + " has a broken video header",
                     "repair the file, for instance with ffmpeg, or choose another one");
  }
  const AVCodecParameters& out = *filter->par_out;
  headerSets_.assign(out.extradata, out.extradata + out.extradata_size);
  lengthSize_ = (header[lengthByte] & 3U) + 1;
}

AnnexBConverter::Converted AnnexBConverter::convert(AVPacket& packet) {
  const MediaBytes bytes(packet.data, static_cast<size_t>(packet.size));
  if (lengthSize_ == 0) return {bytes};
  const bool fits = lengthSize_ >= 3;  // a length of 3 or 4 bytes makes room for a start code
  return fits && av_packet_make_writable(&packet) == 0 ? convertInPlace(packet)
                                                       : convertByCopy(bytes);
}

AnnexBConverter::Converted AnnexBConverter::convertInPlace(AVPacket& packet) const {
  const MediaBytes bytes(packet.data, static_cast<size_t>(packet.size));
  size_t at = 0;
  while (at + lengthSize_ < bytes.size()) {
    const size_t length = lengthAt(bytes, at);
    if (length > bytes.size() - at - lengthSize_) break;
    std::memset(packet.data + at, 0, lengthSize_);
    packet.data[at + lengthSize_ - 1] = 1;
    at += lengthSize_ + length;
  }
  return {bytes.first(at), at != bytes.size()};
}

AnnexBConverter::Converted AnnexBConverter::convertByCopy(MediaBytes packet) {
  copy_.clear();
  size_t at = 0;
  while (at + lengthSize_ < packet.size()) {
    const size_t length = lengthAt(packet, at);
    if (length > packet.size() - at - lengthSize_) break;
    const MediaBytes unit = packet.subspan(at + lengthSize_, length);
    copy_.insert(copy_.end(), {0, 0, 0, 1});
    copy_.insert(copy_.end(), unit.begin(), unit.end());
    at += lengthSize_ + length;
  }
  return {copy_, at != packet.size()};
}

size_t AnnexBConverter::lengthAt(MediaBytes packet, size_t offset) const {
  size_t length = 0;
  for (size_t i = 0; i < lengthSize_; ++i) length = length << 8 | packet[offset + i];
  return length;
}
