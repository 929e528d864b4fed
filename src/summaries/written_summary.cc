#include "summaries/written_summary.h"

#include "base/log.h"
#include "base/strings.h"
#include "summaries/endpoint_language_model.h"
#include "summaries/fact_writer.h"
#include "summaries/loopback_endpoint.h"

namespace velto {

Result<std::unique_ptr<LanguageModel>> languageModelFor(const Settings& settings,
                                                        Scheduler& scheduler,
                                                        std::string_view language) {
  std::unique_ptr<LanguageModel> model;
  if (std::optional<std::string> endpoint = settings.aiModelEndpoint()) {
    if (Result<LoopbackEndpoint> usable = loopbackEndpoint(*endpoint, language); !usable) {
      return Error{usable.error()};
    }
    model = std::make_unique<EndpointLanguageModel>(std::move(*endpoint), scheduler);
  } else {
    model = std::make_unique<FactWriter>(scheduler);
  }
  return model;
}

std::optional<SummaryRequest> summaryRequest(const UsageFigures& figures, std::string language,
                                             const AppDetailSource& details) {
  SummaryFacts facts = summaryFacts(figures, details);
  const std::vector<std::string> lines = factLines(facts, language);
  if (lines.empty()) return std::nullopt;
  return SummaryRequest{summaryInstructions(language), summaryPrompt(lines), std::move(facts),
                        std::move(language)};
}

WrittenSummary::WrittenSummary(LanguageModel& model) : model_(model) {}

void WrittenSummary::generate(const UsageFigures& figures, const std::string& language,
                              const AppDetailSource& details) {
  const int generation = ++*generation_;
  failure_.reset();
  notice_.reset();
  std::optional<SummaryRequest> request = summaryRequest(figures, language, details);
  if (!request) {
    sentences_.clear();
    working_ = false;
    changed();
    return;
  }
  working_ = true;
  changed();
  std::weak_ptr<int> alive = generation_;
  model_.generate(std::move(*request),
                  [this, alive, generation, language](Result<GeneratedSummary> answer) {
                    const std::shared_ptr<int> current = alive.lock();
                    if (!current || *current != generation) return;
                    finish(std::move(answer), language);
                  });
}

void WrittenSummary::finish(Result<GeneratedSummary> answer, const std::string& language) {
  working_ = false;
  sentences_.clear();
  if (!answer) {
    log::error("Day summary not generated: %{public}s", answer.error());
    failure_ = answer.error();
  } else if (answer->sentences.empty()) {
    notice_ = i18n::text(language, "summary.empty");
  } else {
    sentences_ = std::move(answer).value().sentences;
  }
  changed();
}

void WrittenSummary::changed() {
  if (onChange) onChange();
}

}  // namespace velto
