#include "host/input/StreamSource.h"

#include <set>

#include "host/HostError.h"
#include "host/input/StreamNumber.h"

StreamSource StreamSource::parse(const std::string& text) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
    throw usageError("'" + text + "' is not a stream",
                     "give N=URL, such as 1=rtsp://camera/live or 2=clip.mp4");
  }
  return {StreamNumber::parse(text.substr(0, equals)), text.substr(equals + 1)};
}

std::vector<StreamSource> StreamSource::parseAll(const std::vector<std::string>& texts,
                                                 Tracks tracks) {
  if (texts.empty()) {
    throw usageError("no stream to record",
                     "give at least one N=URL, such as 1=rtsp://camera/live");
  }
  std::vector<StreamSource> sources;
  std::set<unsigned char> taken;
  for (const std::string& text : texts) {
    sources.push_back(parse(text));
    const unsigned char stream = sources.back().stream;
    if (!taken.insert(stream).second) {
      throw usageError("stream " + std::to_string(stream) + " is given twice",
                       "give each stream a number of its own");
    }
    if (tracks == VideoAndAudio && stream >= AUDIO_OFFSET) {
      throw usageError("stream " + std::to_string(stream) + " is kept for the sound of stream " +
                           std::to_string(stream - AUDIO_OFFSET),
                       "give a number from 0 to 127, or --no-audio");
    }
  }
  return sources;
}
