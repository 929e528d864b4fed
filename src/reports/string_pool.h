// Distinct strings stored back to back in one buffer, each named by a 32-bit index: a day's
// thousands of rows repeat a few hundred application names, hosts and titles, and a string
// object per row costs ten times the text.
//
// Indexes stay valid for the life of the pool (and its copies). Not thread-safe.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace velto {

class StringPool {
 public:
  // The index of no string (an absent optional).
  static constexpr std::uint32_t kNone = UINT32_MAX;

  StringPool() = default;
  StringPool(const StringPool& other);
  StringPool& operator=(const StringPool& other);
  StringPool(StringPool&& other) noexcept;
  StringPool& operator=(StringPool&& other) noexcept;

  // The index of `text`, added when new. The lookup table built for this is kept until
  // compact().
  std::uint32_t intern(std::string_view text);
  std::uint32_t internOptional(const std::optional<std::string>& text) {
    return text ? intern(std::string_view(*text)) : kNone;
  }

  // Valid until the next intern().
  std::string_view view(std::uint32_t id) const;
  std::string string(std::uint32_t id) const { return std::string(view(id)); }
  std::optional<std::string> optional(std::uint32_t id) const {
    return id == kNone ? std::nullopt : std::optional<std::string>(string(id));
  }

  size_t size() const { return starts_.size(); }
  // Drops the lookup table and spare capacity; intern() builds the table again when called.
  void compact();

 private:
  struct Hash {
    using is_transparent = void;
    const StringPool* pool;
    size_t operator()(std::string_view text) const;
    size_t operator()(std::uint32_t id) const;
  };
  struct Equal {
    using is_transparent = void;
    const StringPool* pool;
    template <typename A, typename B>
    bool operator()(const A& a, const B& b) const {
      return text(a) == text(b);
    }
    std::string_view text(std::string_view text) const { return text; }
    std::string_view text(std::uint32_t id) const { return pool->view(id); }
  };
  using Index = std::unordered_set<std::uint32_t, Hash, Equal>;

  Index emptyIndex() const { return Index(0, Hash{this}, Equal{this}); }

  std::string text_;
  std::vector<std::uint32_t> starts_;  // where each string starts in text_; ends at the next
  Index index_ = emptyIndex();         // hashes into this pool: never copied or moved
};

}  // namespace velto
