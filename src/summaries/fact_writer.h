// The built-in writer of the written summary: turns the facts into one to three plain sentences
// in the interface language. It obeys the instructions a model is given by construction: every
// number, name and duration it writes is copied from a fact, a percentage only ever describes
// the total, and nothing is judged.
// Thread: main thread.
#pragma once

#include "base/scheduler.h"
#include "summaries/language_model.h"

namespace velto {

// The sentences for `facts` in `language`: the total (with its change when known), then where
// the time went by category, then the top applications, then the longest stretch, at most three.
GeneratedSummary writeFromFacts(const SummaryFacts& facts, std::string_view language);

class FactWriter final : public LanguageModel {
 public:
  // `scheduler` must outlive the writer.
  explicit FactWriter(Scheduler& scheduler) : scheduler_(scheduler) {}
  void generate(SummaryRequest request, Done done) override;

 private:
  Scheduler& scheduler_;
};

}  // namespace velto
