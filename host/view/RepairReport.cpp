#include "host/view/RepairReport.h"

#include "host/view/CheckReport.h"

using nlohmann::ordered_json;

void RepairReport::add(const Finding& finding) {
  if (json_) {
    list_.push_back(CheckReport::asJson(finding));
    return;
  }
  const std::string remedy = finding.remedy();
  out_ << finding.name() << ": " << finding.text() << ": "
       << (remedy.empty() ? "this cannot be mended" : remedy) << std::endl;
}

void RepairReport::finish(const std::string& recorder, bool dryRun, uint64_t findings,
                          const RepairRun::Result& result) {
  if (json_) {
    ordered_json left = ordered_json::array();
    for (const Finding& finding : result.left) left.push_back(CheckReport::asJson(finding));
    out_ << ordered_json{{"recorder", recorder},
                         {"dryRun", dryRun},
                         {"findings", list_},
                         {"left", left},
                         {"problems", result.problems}}
                .dump(2, ' ', false, ordered_json::error_handler_t::replace)
         << "\n";
  } else if (findings == 0) {
    err_ << "nothing is wrong" << std::endl;
  } else {
    err_ << (dryRun ? "would mend " : "mended ") << findings - result.left.size()
         << (findings == 1 ? " finding" : " findings") << std::endl;
  }
  for (const std::string& problem : result.problems) err_ << "ktr: " << problem << std::endl;
  for (const Finding& finding : result.left) {
    err_ << "ktr: left: " << finding.name() << ": " << finding.text() << std::endl;
  }
}
