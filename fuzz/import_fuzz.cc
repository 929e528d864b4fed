// Feeds arbitrary bytes to the import of a segments export: it must never crash, a refused file
// must store nothing, and an accepted one exactly the rows it says it added.
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "base/calendar.h"
#include "base/notice_bus.h"
#include "reports/usage_export.h"
#include "store/persistence_controller.h"
#include "store/segment_store.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  static velto::PersistenceController persistence(std::nullopt);
  static velto::NoticeBus notices;
  static const velto::Calendar calendar = *velto::Calendar::named("UTC");
  static velto::SegmentStore store(persistence, calendar, notices);
  if (!store.wipe()) std::abort();
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  const velto::Result<velto::ImportOutcome> imported = velto::importSegments(store, in, calendar);
  const std::int64_t stored = store.count().toOptional().value_or(-1);
  if (imported ? stored != imported->added : stored != 0) std::abort();
  return 0;
}
