// Settings strings, as a table may hold them and as values make them.
#include "db/KTRAudioSettingsRow.h"
#include "db/KTRVideoSettingsRow.h"
#include "fuzz/FuzzRequire.h"

namespace {

template <typename Row>
Row parsed(const KTString& settings, streamTypes type) {
  return Row(KTRSettingsRow("name", type, settings));
}

// What a row of any text writes is read back as the same row.
template <typename Row>
void checkStable(const KTString& text, streamTypes type) {
  Row row = parsed<Row>(text, type);
  fuzzRequire(row.settings == text, "parsing leaves the text alone");
  row.buildSettingsString();
  Row again = parsed<Row>(row.settings, type);
  again.buildSettingsString();
  fuzzRequire(again.settings == row.settings, "what is written is read back");
}

// A text that a field may hold: the rules forbid commas, and a zero byte ends it.
KTString fieldText(FuzzInput& input) {
  std::string text = fuzzText(input.bytes(input.byte() % 16));
  std::erase_if(text, [](char c) { return c == ',' || c == '\0'; });
  return KTString(text);
}

void checkVideo(FuzzInput input) {
  const auto fps = static_cast<unsigned char>(input.byte());
  const unsigned int number = input.word() << 16 | input.word();
  const KTString a = fieldText(input);
  const KTString b = fieldText(input);
  const KTString c = fieldText(input);
  const KTRVideoSettingsRow row("name", fps, number, a, b, c);
  const auto back = parsed<KTRVideoSettingsRow>(row.settings, STREAM_VIDEO);
  fuzzRequire(back.videoParam1 == fps && back.videoParam2 == number, "numbers survive");
  fuzzRequire(back.videoText1 == a && back.videoText2 == b && back.videoText3 == c,
              "texts survive");
}

void checkAudio(FuzzInput input) {
  const unsigned int number = input.word() << 16 | input.word();
  const unsigned int rate = input.word() << 16 | input.word();
  KTString codec = fieldText(input);
  const KTRAudioSettingsRow row("name", number, codec, rate);
  const auto back = parsed<KTRAudioSettingsRow>(row.settings, STREAM_AUDIO);
  fuzzRequire(back.audioParam == number && back.codec == codec, "parameter and codec survive");
  fuzzRequire(back.sampleRate == (rate == 0 ? KTRAudioSettingsRow::DEFAULT_SAMPLE_RATE : rate),
              "the rate survives");
}

void checkPieces(const KTString& text) {
  const KTVector<KTString> pieces = text.tokenize(',');
  KTString joined;
  for (unsigned int i = 0; i < pieces.count(); ++i)
    joined += KTString(i == 0 ? "" : ",") + pieces[i];
  fuzzRequire(joined == text, "pieces and commas make the text");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const FuzzInput input({data, size});
  const KTString text(fuzzText({data, size}));
  checkStable<KTRVideoSettingsRow>(text, STREAM_VIDEO);
  checkStable<KTRAudioSettingsRow>(text, STREAM_AUDIO);
  checkPieces(text);
  checkVideo(input);
  checkAudio(input);
  return 0;
}
