#include "host/input/StreamSource.h"

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <set>

#include "host/HostError.h"
#include "host/input/StreamNumber.h"
#include "host/media/SecretText.h"

namespace {

/** The URL in the first line of a file that keeps it from others. */
std::string urlFrom(const std::string& path) {
  struct stat found {};
  if (stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode) &&
      (found.st_mode & (S_IROTH | S_IWOTH)) != 0) {
    throw usageError("everybody may read or write '" + path + "', which holds the URL of a stream",
                     "take the rights away: chmod 600 " + path);
  }
  std::ifstream file(path);
  std::string line;
  if (!std::getline(file, line) || line.empty()) {
    throw usageError("cannot read the URL of a stream from '" + path + "'",
                     "name a file after @ whose first line is the URL");
  }
  return line;
}

bool isUrlWithGap(const std::string& url) {
  return url.find("://") != std::string::npos &&
         std::any_of(url.begin(), url.end(), [](unsigned char c) { return c <= ' ' || c == 127; });
}

}  // namespace

StreamSource StreamSource::parse(const std::string& text) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
    throw usageError("'" + SecretText::ofWord(text) + "' is not a stream",
                     "give N=URL, such as 1=rtsp://camera/live or 2=clip.mp4");
  }
  StreamSource source{StreamNumber::parse(text.substr(0, equals)), text.substr(equals + 1)};
  if (source.url.starts_with("@")) source.url = urlFrom(source.url.substr(1));
  if (isUrlWithGap(source.url)) {
    throw usageError("the URL of stream " + std::to_string(source.stream) + " has a blank in it",
                     "write a blank in a URL as %20");
  }
  return source;
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
