#include "reports/string_pool.h"

#include <functional>

namespace velto {

StringPool::StringPool(const StringPool& other) : text_(other.text_), starts_(other.starts_) {}

StringPool& StringPool::operator=(const StringPool& other) {
  if (this != &other) {
    text_ = other.text_;
    starts_ = other.starts_;
    index_ = emptyIndex();
  }
  return *this;
}

StringPool::StringPool(StringPool&& other) noexcept
    : text_(std::move(other.text_)), starts_(std::move(other.starts_)) {
  other.index_.clear();
}

StringPool& StringPool::operator=(StringPool&& other) noexcept {
  if (this != &other) {
    text_ = std::move(other.text_);
    starts_ = std::move(other.starts_);
    index_ = emptyIndex();
    other.index_.clear();
  }
  return *this;
}

size_t StringPool::Hash::operator()(std::string_view text) const {
  return std::hash<std::string_view>{}(text);
}

size_t StringPool::Hash::operator()(std::uint32_t id) const {
  return (*this)(pool->view(id));
}

std::string_view StringPool::view(std::uint32_t id) const {
  const std::uint32_t start = starts_[id];
  const size_t end = id + 1 < starts_.size() ? starts_[id + 1] : text_.size();
  return std::string_view(text_).substr(start, end - start);
}

std::uint32_t StringPool::intern(std::string_view text) {
  if (index_.empty() && !starts_.empty()) {
    index_.reserve(starts_.size());
    for (std::uint32_t id = 0; id < starts_.size(); ++id) index_.insert(id);
  }
  if (auto found = index_.find(text); found != index_.end()) return *found;
  const auto id = static_cast<std::uint32_t>(starts_.size());
  starts_.push_back(static_cast<std::uint32_t>(text_.size()));
  text_.append(text);
  index_.insert(id);
  return id;
}

void StringPool::compact() {
  index_ = emptyIndex();
  text_.shrink_to_fit();
  starts_.shrink_to_fit();
}

}  // namespace velto
