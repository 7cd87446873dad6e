#include "host/view/CheckReport.h"

#include "host/ByteText.h"

using nlohmann::ordered_json;

void CheckReport::add(const Finding& finding) {
  if (json_) {
    list_.push_back(asJson(finding));
  } else {
    out_ << finding.name() << ": " << finding.text() << std::endl;
  }
}

ordered_json CheckReport::asJson(const Finding& finding) {
  ordered_json entry{{"kind", finding.name()}};
  if (finding.session != 0) entry["session"] = finding.session;
  if (finding.slice) entry["slice"] = *finding.slice;
  if (finding.offset) entry["offset"] = *finding.offset;
  entry["count"] = finding.count;
  entry["bytes"] = finding.bytes;
  entry["detail"] = finding.detail;
  entry["text"] = finding.text();
  entry["remedy"] = finding.remedy();
  return entry;
}

void CheckReport::finish(const std::string& recorder, const std::string& level, bool recording,
                         const CheckRun::Result& result) {
  if (json_) {
    out_ << ordered_json{{"recorder", recorder},          {"level", level},
                         {"recording", recording},        {"sessions", result.sessions},
                         {"files", result.files},         {"bytes", result.bytes},
                         {"indexRows", result.indexRows}, {"findings", list_}}
                .dump(2, ' ', false, ordered_json::error_handler_t::replace)
         << "\n";
    return;
  }
  err_ << "checked " << result.sessions << (result.sessions == 1 ? " session, " : " sessions, ")
       << ByteText::format(result.bytes) << ": ";
  if (result.findings == 0) {
    err_ << "nothing is wrong" << std::endl;
  } else {
    err_ << result.findings << (result.findings == 1 ? " finding" : " findings")
         << "; ktr repair mends them, with --dry-run it tells how" << std::endl;
  }
}
