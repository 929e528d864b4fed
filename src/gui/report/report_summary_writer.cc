#include "gui/report/report_summary_writer.h"

#include <memory>
#include <optional>
#include <string>

#include "app/service_set.h"
#include "summaries/language_model.h"
#include "summaries/written_summary.h"

namespace velto::gui {

namespace {

// Keeps one model while the endpoint setting stays the same; a newer request supersedes the one
// still running, whose answer is dropped.
class SummaryCardWriter {
 public:
  explicit SummaryCardWriter(ServiceSet& services) : services_(services) {}

  void write(const UsageFigures& figures, std::function<void(std::string)> done) {
    const std::optional<std::string> endpoint = services_.settings().aiModelEndpoint();
    if (!summary_ || endpoint != endpoint_) {
      summary_.reset();
      model_ = languageModelFor(services_.settings(), services_.scheduler());
      endpoint_ = endpoint;
      summary_ = std::make_unique<WrittenSummary>(*model_);
      summary_->onChange = [this] { answered(); };
    }
    done_ = std::move(done);
    summary_->generate(figures, services_.language());
  }

 private:
  void answered() {
    if (summary_->working() || !done_) return;
    std::string text;
    if (summary_->failure()) {
      text = *summary_->failure();
    } else if (summary_->notice()) {
      text = *summary_->notice();
    } else {
      for (const std::string& sentence : summary_->sentences()) {
        if (!text.empty()) text += ' ';
        text += sentence;
      }
    }
    std::function<void(std::string)> done = std::move(done_);
    done_ = nullptr;
    done(std::move(text));
  }

  ServiceSet& services_;
  std::optional<std::string> endpoint_;
  std::unique_ptr<LanguageModel> model_;
  std::unique_ptr<WrittenSummary> summary_;  // over model_: goes first
  std::function<void(std::string)> done_;
};

}  // namespace

ReportWindow::SummaryWriter reportSummaryWriter(ServiceSet& services) {
  auto writer = std::make_shared<SummaryCardWriter>(services);
  return [writer](const UsageFigures& figures, std::function<void(std::string)> done) {
    writer->write(figures, std::move(done));
  };
}

}  // namespace velto::gui
