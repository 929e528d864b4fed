// Feeds an arbitrary byte stream to the native messaging host's reading of what the browser
// sends: the frame decoder, in pieces whose sizes come from the input, then the tab report
// checks on every frame. Nothing may crash, and every answer must keep its promises: the same
// frames whatever the split, no frame longer than the limit, accepted reports within their
// bounds, and a private report with neither URL nor title.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "context/native_messaging.h"
#include "context/tab_report.h"

namespace {

using velto::NativeMessageDecoder;

void require(bool condition) {
  if (!condition) std::abort();
}

std::vector<std::string> framesOf(std::string_view stream, std::size_t piece) {
  NativeMessageDecoder decoder;
  std::vector<std::string> frames;
  for (std::size_t at = 0; at < stream.size(); at += piece) {
    decoder.feed(stream.substr(at, piece));
    while (auto frame = decoder.next()) {
      if (frame->kind == NativeMessageDecoder::Frame::Kind::oversized) {
        require(frame->length > velto::kMaxNativeMessageBytes);
        frames.push_back("!" + std::to_string(frame->length));
        continue;
      }
      require(frame->payload.size() == frame->length);
      require(frame->payload.size() <= velto::kMaxNativeMessageBytes);
      frames.push_back(frame->payload);
    }
  }
  return frames;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // The first byte picks the size of the pieces the stream arrives in.
  const std::size_t piece = 1 + data[0] % 64;
  const std::string_view stream(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::vector<std::string> frames = framesOf(stream, piece);
  require(frames == framesOf(stream, stream.size() + 1));
  // The stream itself as one report, and every frame in it.
  std::vector<std::string_view> candidates{stream};
  for (const std::string& frame : frames) {
    if (frame.empty() || frame[0] != '!') candidates.push_back(frame);
  }
  for (std::string_view json : candidates) {
    const velto::Result<velto::TabReport> report = velto::parseTabReport(json);
    if (!report) continue;
    require(report->url.size() <= velto::kMaxReportedUrlBytes);
    require(report->title.size() <= velto::kMaxReportedTitleBytes);
    require(report->processId >= 0 && report->processId <= velto::kMaxProcessId);
    if (report->isPrivate) require(report->url.empty() && report->title.empty());
  }
  return 0;
}
