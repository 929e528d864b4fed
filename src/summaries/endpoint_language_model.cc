#include "summaries/endpoint_language_model.h"

#include <memory>

namespace velto {

namespace {

constexpr size_t kMostSentences = 3;

std::string trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return {};
  const size_t last = text.find_last_not_of(" \t\r\n");
  return text.substr(first, last - first + 1);
}

}  // namespace

nlohmann::json chatRequestBody(const SummaryRequest& request) {
  using nlohmann::json;
  json sentences = json::object();
  sentences["type"] = "array";
  sentences["description"] = GeneratedSummary::kSentencesDescription;
  sentences["items"] = json::object({{"type", "string"}});
  sentences["minItems"] = 1;
  sentences["maxItems"] = kMostSentences;
  json schema = json::object();
  schema["type"] = "object";
  schema["properties"] = json::object({{"sentences", sentences}});
  schema["required"] = json::array({"sentences"});
  schema["additionalProperties"] = false;

  json body = json::object();
  body["messages"] =
      json::array({json::object({{"role", "system"}, {"content", request.instructions}}),
                   json::object({{"role", "user"}, {"content", request.prompt}})});
  body["response_format"] = json::object(
      {{"type", "json_schema"},
       {"json_schema",
        json::object({{"name", "GeneratedSummary"}, {"strict", true}, {"schema", schema}})}});
  body["stream"] = false;
  return body;
}

Result<GeneratedSummary> generatedSummaryFromReply(const HttpReply& reply) {
  if (reply.status < 200 || reply.status > 299) {
    return Error{"the model endpoint answered with HTTP status " + std::to_string(reply.status)};
  }
  const nlohmann::json body = nlohmann::json::parse(reply.body, nullptr, false);
  if (body.is_discarded() || !body.is_object()) return Error{"the answer is not JSON"};
  const auto choices = body.find("choices");
  if (choices == body.end() || !choices->is_array() || choices->empty() ||
      !(*choices)[0].is_object()) {
    return Error{"the answer has no choices"};
  }
  const nlohmann::json& choice = (*choices)[0];
  const auto message = choice.find("message");
  if (message == choice.end() || !message->is_object() || !message->contains("content") ||
      !(*message)["content"].is_string()) {
    return Error{"the answer has no message content"};
  }
  const nlohmann::json content =
      nlohmann::json::parse((*message)["content"].get<std::string>(), nullptr, false);
  if (content.is_discarded() || !content.is_object() || !content.contains("sentences") ||
      !content["sentences"].is_array()) {
    return Error{"the message is not a GeneratedSummary"};
  }
  GeneratedSummary summary;
  for (const nlohmann::json& sentence : content["sentences"]) {
    if (!sentence.is_string()) return Error{"the message is not a GeneratedSummary"};
    std::string text = trimmed(sentence.get<std::string>());
    if (!text.empty() && summary.sentences.size() < kMostSentences) {
      summary.sentences.push_back(std::move(text));
    }
  }
  return summary;
}

EndpointLanguageModel::EndpointLanguageModel(std::string address, Scheduler& scheduler,
                                             double timeoutSeconds)
    : address_(std::move(address)), scheduler_(scheduler), timeoutSeconds_(timeoutSeconds) {}

EndpointLanguageModel::~EndpointLanguageModel() {
  for (std::thread& worker : workers_) {
    if (worker.joinable()) worker.join();
  }
}

void EndpointLanguageModel::generate(SummaryRequest request, Done done) {
  Result<LoopbackEndpoint> endpoint = loopbackEndpoint(address_, request.language);
  if (!endpoint) {
    scheduler_.post([done = std::move(done), error = endpoint.error()] { done(Error{error}); });
    return;
  }
  auto finish = std::make_shared<Done>(std::move(done));
  workers_.emplace_back([this, endpoint = std::move(endpoint).value(),
                         body = chatRequestBody(request).dump(), finish] {
    Result<HttpReply> reply = postJson(endpoint, body, timeoutSeconds_);
    Result<GeneratedSummary> answer =
        reply ? generatedSummaryFromReply(*reply) : Result<GeneratedSummary>(Error{reply.error()});
    scheduler_.post(
        [finish, answer = std::move(answer)]() mutable { (*finish)(std::move(answer)); });
  });
}

}  // namespace velto
