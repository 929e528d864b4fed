// The framing of native messaging, the channel between a browser extension and a program the
// browser starts: every message is a 32-bit length in the machine's byte order followed by that
// many bytes of UTF-8 JSON. Velto's messages are small, so anything longer than
// kMaxNativeMessageBytes is refused without being buffered.
//
// Thread: any; a decoder belongs to one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

inline constexpr std::uint32_t kMaxNativeMessageBytes = 4096;

// `json` with its length in front; `json` must be at most kMaxNativeMessageBytes long.
std::string encodeNativeMessage(std::string_view json);

// Splits a byte stream into messages. Bytes may arrive in pieces of any size; the frame being
// read holds at most four bytes plus kMaxNativeMessageBytes, and the frames completed by one
// feed() wait for next() (take them all after each feed).
class NativeMessageDecoder {
 public:
  struct Frame {
    enum class Kind { message, oversized };

    Kind kind = Kind::message;
    std::string payload;       // for Kind::message
    std::uint32_t length = 0;  // the length the frame announced

    Frame(Kind kind, std::string payload, std::uint32_t length)
        : kind(kind), payload(std::move(payload)), length(length) {}
  };

  // Appends bytes read from the stream.
  void feed(std::string_view bytes);
  // The next whole frame, in stream order; none until one is complete. An oversized frame is
  // reported once, as soon as its length is read, and its bytes are then skipped as they come.
  std::optional<Frame> next();
  // Part of a frame is still expected (a stream that ends here was cut short).
  bool hasPartialFrame() const { return !buffer_.empty() || skipping_ > 0; }

 private:
  std::string buffer_;          // the frame being read: its length, then its body
  std::uint64_t skipping_ = 0;  // bytes of an oversized frame still to drop
  std::deque<Frame> ready_;
};

}  // namespace velto
