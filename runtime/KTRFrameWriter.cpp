#include "runtime/KTRFrameWriter.h"

#include <cstring>

#include "runtime/LittleEndian.h"

using Format = KTRFrameFormat;

KTDataBlock KTRFrameWriter::build(Format::Kind kind, std::uint32_t stampMs,
                                  std::initializer_list<Piece> pieces,
                                  std::int32_t compositionOffsetMs) {
  const bool composed = compositionOffsetMs != 0;
  std::uint64_t length = composed ? Format::COMPOSITION_SIZE : 0;
  for (const Piece& piece : pieces) length += piece.size;
  if (length > Format::MAX_FRAME_SIZE - Format::HEAD_SIZE) return KTDataBlock();

  KTDataBlock frame;
  frame.resize(Format::HEAD_SIZE + static_cast<unsigned int>(length));  // every byte is set below
  unsigned char* out = frame.writable();
  *out = static_cast<unsigned char>(kind | (composed ? Format::COMPOSITION_FLAG : 0));
  storeLittleEndian(out + Format::STAMP_OFFSET, stampMs);
  storeLittleEndian(out + Format::LENGTH_OFFSET, static_cast<std::uint32_t>(length));
  out += Format::HEAD_SIZE;
  if (composed) {
    storeLittleEndian(out, static_cast<std::uint32_t>(compositionOffsetMs));
    out += Format::COMPOSITION_SIZE;
  }
  for (const Piece& piece : pieces) {
    if (piece.size != 0) std::memcpy(out, piece.bytes, piece.size);
    out += piece.size;
  }
  return frame;
}
