// A text generator for the written summary of a report: given system instructions and the
// numbered facts, it answers with one to three sentences that use only those facts. Nothing may
// leave the machine: implementations run on this computer or talk to a loopback address only.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "summaries/summary_facts.h"

namespace velto {

// The structured answer asked of a model.
struct GeneratedSummary {
  // How the one field is described to a model.
  static constexpr std::string_view kSentencesDescription =
      "One to three short sentences about the period, using only the given facts.";

  std::vector<std::string> sentences;
  bool operator==(const GeneratedSummary&) const = default;
};

struct SummaryRequest {
  std::string instructions;  // summaryInstructions(language)
  std::string prompt;        // summaryPrompt(factLines(facts, language))
  SummaryFacts facts;        // the same facts, for writers that work on the figures themselves
  std::string language;      // interface language of the answer
};

class LanguageModel {
 public:
  using Done = std::function<void(Result<GeneratedSummary>)>;

  virtual ~LanguageModel() = default;
  // Starts a request and returns at once. Call on the main thread; `done` runs later on the main
  // thread (posted through the Scheduler, never from inside this call), with the answer or the
  // reason it failed. Generation options are the implementation's defaults.
  virtual void generate(SummaryRequest request, Done done) = 0;
};

}  // namespace velto
