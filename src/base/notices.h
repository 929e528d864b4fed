// Names of the notices posted on the NoticeBus and across processes.
#pragma once

namespace velto::notices {

// Segments were inserted, edited or deleted.
inline constexpr const char* kSegmentsDidChange = "studio.kestrova.Velto.segmentsDidChange";
// The user's category rules changed (posted with kSegmentsDidChange, whose figures they move).
inline constexpr const char* kCategoryRulesDidChange =
    "studio.kestrova.Velto.categoryRulesDidChange";
// All recorded data was wiped.
inline constexpr const char* kStoreDidWipe = "studio.kestrova.Velto.store.didWipe";
// A new local day began, or the clock or time zone changed.
inline constexpr const char* kDayDidChange = "studio.kestrova.Velto.dayDidChange";
// Another process wrote the tracking command file.
inline constexpr const char* kTrackingCommand = "studio.kestrova.Velto.trackingCommand";

}  // namespace velto::notices
