// The optional model client: asks an OpenAI-compatible chat endpoint on this computer
// ("velto.aiModelEndpoint") for the structured `GeneratedSummary`. The request is a blocking
// POST on a worker thread of its own; the answer is posted back to the main thread. An address
// that is not loopback is refused before any connection.
// Thread: construct, generate and destroy on the main thread.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "base/scheduler.h"
#include "summaries/language_model.h"
#include "summaries/loopback_http.h"

namespace velto {

// The chat request: the instructions as the system message, the prompt as the user message, and
// a JSON-schema response format for `GeneratedSummary`. No temperature, sampling or length is set.
nlohmann::json chatRequestBody(const SummaryRequest& request);

// The sentences of a chat completion reply: choices[0].message.content holding
// {"sentences": [...]}. Blank sentences are dropped and at most three kept; an HTTP status other
// than 2xx or an unreadable body is an error.
Result<GeneratedSummary> generatedSummaryFromReply(const HttpReply& reply);

class EndpointLanguageModel final : public LanguageModel {
 public:
  // `scheduler` must outlive the model. `timeoutSeconds` bounds each send and receive.
  EndpointLanguageModel(std::string address, Scheduler& scheduler, double timeoutSeconds = 120);
  // Waits for requests still running; their answers are still posted.
  ~EndpointLanguageModel() override;
  EndpointLanguageModel(const EndpointLanguageModel&) = delete;
  EndpointLanguageModel& operator=(const EndpointLanguageModel&) = delete;

  void generate(SummaryRequest request, Done done) override;

 private:
  std::string address_;
  Scheduler& scheduler_;
  double timeoutSeconds_;
  std::vector<std::thread> workers_;
};

}  // namespace velto
