#include "gui/report/report_summary_writer.h"

#include <memory>
#include <optional>
#include <string>

#include "app/service_set.h"
#include "summaries/language_model.h"
#include "summaries/written_summary.h"

namespace velto::gui {

namespace {

using Answer = ReportWindow::SummaryAnswer;

// Keeps one model while the endpoint setting stays the same; a newer request supersedes the one
// still running, whose answer is dropped.
class SummaryCardWriter {
 public:
  explicit SummaryCardWriter(ServiceSet& services) : services_(services) {}

  void write(const UsageFigures& figures, const AppDetailSource& details,
             std::function<void(Answer)> done) {
    const std::optional<std::string> endpoint = services_.settings().aiModelEndpoint();
    if (!summary_ || endpoint != endpoint_) {
      summary_.reset();
      model_.reset();
      endpoint_ = endpoint;
      Result<std::unique_ptr<LanguageModel>> model =
          languageModelFor(services_.settings(), services_.scheduler(), services_.language());
      if (!model) {
        done_ = nullptr;
        done(Answer{model.error(), true, endpoint.value_or(std::string())});
        return;
      }
      model_ = std::move(model).value();
      summary_ = std::make_unique<WrittenSummary>(*model_);
      summary_->onChange = [this] { answered(); };
    }
    done_ = std::move(done);
    summary_->generate(figures, services_.language(), details);
  }

 private:
  void answered() {
    if (summary_->working() || !done_) return;
    Answer answer{{}, false, endpoint_.value_or(std::string())};
    if (summary_->failure()) {
      answer.text = *summary_->failure();
      answer.failed = true;
    } else if (summary_->notice()) {
      answer.text = *summary_->notice();
    } else {
      for (const std::string& sentence : summary_->sentences()) {
        if (!answer.text.empty()) answer.text += ' ';
        answer.text += sentence;
      }
    }
    std::function<void(Answer)> done = std::move(done_);
    done_ = nullptr;
    done(std::move(answer));
  }

  ServiceSet& services_;
  std::optional<std::string> endpoint_;
  std::unique_ptr<LanguageModel> model_;
  std::unique_ptr<WrittenSummary> summary_;  // over model_: goes first
  std::function<void(Answer)> done_;
};

}  // namespace

ReportWindow::SummaryWriter reportSummaryWriter(ServiceSet& services) {
  auto writer = std::make_shared<SummaryCardWriter>(services);
  return [writer](const UsageFigures& figures, const AppDetailSource& details,
                  std::function<void(Answer)> done) {
    writer->write(figures, details, std::move(done));
  };
}

}  // namespace velto::gui
