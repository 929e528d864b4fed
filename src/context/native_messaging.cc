#include "context/native_messaging.h"

#include <algorithm>
#include <cstring>

namespace velto {

namespace {

constexpr std::size_t kLengthBytes = sizeof(std::uint32_t);

std::uint32_t lengthAt(const std::string& bytes) {
  std::uint32_t length = 0;
  std::memcpy(&length, bytes.data(), kLengthBytes);
  return length;
}

}  // namespace

std::string encodeNativeMessage(std::string_view json) {
  const auto length = static_cast<std::uint32_t>(json.size());
  std::string frame(kLengthBytes, '\0');
  std::memcpy(frame.data(), &length, kLengthBytes);
  frame.append(json);
  return frame;
}

void NativeMessageDecoder::feed(std::string_view bytes) {
  while (!bytes.empty()) {
    if (skipping_ > 0) {
      const auto dropped =
          static_cast<std::size_t>(std::min<std::uint64_t>(skipping_, bytes.size()));
      skipping_ -= dropped;
      bytes.remove_prefix(dropped);
      continue;
    }
    const std::size_t wanted =
        buffer_.size() < kLengthBytes ? kLengthBytes : kLengthBytes + lengthAt(buffer_);
    const std::size_t taken = std::min(bytes.size(), wanted - buffer_.size());
    buffer_.append(bytes.substr(0, taken));
    bytes.remove_prefix(taken);
    if (buffer_.size() == kLengthBytes) {
      const std::uint32_t length = lengthAt(buffer_);
      if (length > kMaxNativeMessageBytes) {
        ready_.emplace_back(Frame::Kind::oversized, std::string(), length);
        buffer_.clear();
        skipping_ = length;
        continue;
      }
    }
    if (buffer_.size() >= kLengthBytes && buffer_.size() == kLengthBytes + lengthAt(buffer_)) {
      ready_.emplace_back(Frame::Kind::message, buffer_.substr(kLengthBytes), lengthAt(buffer_));
      buffer_.clear();
    }
  }
}

std::optional<NativeMessageDecoder::Frame> NativeMessageDecoder::next() {
  if (ready_.empty()) return std::nullopt;
  Frame frame = std::move(ready_.front());
  ready_.pop_front();
  return frame;
}

}  // namespace velto
