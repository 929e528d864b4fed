// The written summary of a report's period: builds the facts, asks the language model for one to
// three sentences and keeps the last answer and a working flag for the screen that shows it.
// With no facts no request is made and the answer is empty. A failed request is logged as
// "Day summary not generated: %{public}s" and leaves no sentences; an answer without usable
// sentences shows "summary.empty".
// Thread: main thread. The model's answer arrives later on the main thread; answers that arrive
// after this object is gone, or after a newer request, are dropped.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "settings/settings.h"
#include "summaries/language_model.h"

namespace velto {

class Scheduler;

// The model the settings choose: the loopback endpoint of "velto.aiModelEndpoint" when one is
// set, else the built-in writer. An address that is not a loopback http:// address is refused
// here with the catalog's message in `language` ("summary.endpoint.notLoopback %@",
// "summary.endpoint.invalid %@"): no model exists for it, so no request is made or reported as
// failed. `scheduler` must outlive the model.
Result<std::unique_ptr<LanguageModel>> languageModelFor(const Settings& settings,
                                                        Scheduler& scheduler,
                                                        std::string_view language);

// The request for a report's figures in `language`; none when there are no facts. `details` as
// for summaryFacts.
std::optional<SummaryRequest> summaryRequest(const UsageFigures& figures, std::string language,
                                             const AppDetailSource& details = {});

class WrittenSummary {
 public:
  // `model` must outlive this object.
  explicit WrittenSummary(LanguageModel& model);

  // Asks for sentences about `figures`; a request still running is superseded. `details` as for
  // summaryFacts.
  void generate(const UsageFigures& figures, const std::string& language,
                const AppDetailSource& details = {});

  bool working() const { return working_; }
  const std::vector<std::string>& sentences() const { return sentences_; }
  // "Nothing worth summarising came back…" after an answer without sentences.
  const std::optional<std::string>& notice() const { return notice_; }
  // Why the last request failed.
  const std::optional<std::string>& failure() const { return failure_; }

  // After every change of the fields above.
  std::function<void()> onChange;

 private:
  void finish(Result<GeneratedSummary> answer, const std::string& language);
  void changed();

  LanguageModel& model_;
  bool working_ = false;
  std::vector<std::string> sentences_;
  std::optional<std::string> notice_;
  std::optional<std::string> failure_;
  std::shared_ptr<int> generation_ = std::make_shared<int>(0);
};

}  // namespace velto
