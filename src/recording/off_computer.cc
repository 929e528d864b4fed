#include "recording/off_computer.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include "base/raw_values.h"

namespace velto {

namespace {

constexpr std::array<std::string_view, 4> kRaw = {"meeting", "break", "phone", "offline"};
constexpr std::array<std::string_view, 4> kKeys = {"offMac.meeting", "offMac.break", "offMac.phone",
                                                   "offMac.offline"};

bool isSpace(UChar32 c) {
  return u_isUWhiteSpace(c) != 0;
}

}  // namespace

std::string_view rawValue(OffMacKind kind) {
  return kRaw[static_cast<size_t>(kind)];
}

std::optional<OffMacKind> offMacKindFromRaw(std::string_view raw) {
  return enumFromRaw<OffMacKind>(kRaw, raw);
}

std::string_view localizationKey(OffMacKind kind) {
  return kKeys[static_cast<size_t>(kind)];
}

std::string offMacBundleId(OffMacKind kind) {
  return std::string(kOffComputerPrefix) + std::string(rawValue(kind));
}

bool isOffComputer(std::string_view bundleId) {
  return bundleId.starts_with(kOffComputerPrefix);
}

std::optional<ActivityContext> labelledContext(std::string_view label) {
  const icu::UnicodeString text = icu::UnicodeString::fromUTF8(
      icu::StringPiece(label.data(), static_cast<int32_t>(label.size())));
  int32_t begin = 0;
  int32_t end = text.length();
  while (begin < end && isSpace(text.char32At(begin))) begin = text.moveIndex32(begin, 1);
  while (end > begin && isSpace(text.char32At(text.moveIndex32(end, -1)))) {
    end = text.moveIndex32(end, -1);
  }
  if (begin == end) return std::nullopt;
  icu::UnicodeString trimmed(text, begin, end - begin);

  icu::UnicodeString lower(trimmed);
  lower.toLower(icu::Locale::getRoot());
  icu::UnicodeString slug;
  bool inRun = false;
  for (int32_t i = 0; i < lower.length(); i = lower.moveIndex32(i, 1)) {
    const UChar32 c = lower.char32At(i);
    if (isSpace(c)) {
      inRun = false;
      continue;
    }
    if (!inRun && !slug.isEmpty()) slug.append(static_cast<UChar>('-'));
    slug.append(c);
    inRun = true;
  }

  ActivityContext context;
  std::string slugText;
  slug.toUTF8String(slugText);
  context.bundleId = std::string(kManualPrefix) + slugText;
  trimmed.toUTF8String(context.appName);
  return context;
}

}  // namespace velto
