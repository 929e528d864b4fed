// The store's tables. Version 1:
//   segment        one row per finished stretch; instants as integer microseconds since the
//                  Unix epoch (UTC), ids as 16-byte blobs, optionals as NULL
//   category_rule  the user's rules filing apps, hosts and title words under categories
#pragma once

namespace velto::schema {

inline constexpr const char* kVersion1 = R"sql(
CREATE TABLE segment (
  rowid INTEGER PRIMARY KEY,
  id BLOB NOT NULL UNIQUE CHECK (length(id) = 16),
  started_us INTEGER NOT NULL,
  ended_us INTEGER NOT NULL,
  seconds REAL NOT NULL,
  bundle_id TEXT NOT NULL DEFAULT '',
  app_name TEXT NOT NULL DEFAULT '',
  window_title TEXT,
  host TEXT,
  tool_name TEXT,
  url TEXT,
  end_reason TEXT NOT NULL DEFAULT 'focusChange',
  day_key TEXT NOT NULL DEFAULT ''
);
CREATE INDEX segment_by_start ON segment (started_us);
CREATE INDEX segment_by_day ON segment (day_key, started_us);
CREATE TABLE category_rule (
  id BLOB PRIMARY KEY NOT NULL CHECK (length(id) = 16),
  pattern TEXT NOT NULL,
  subject TEXT NOT NULL,
  category TEXT NOT NULL,
  created_us INTEGER NOT NULL
);
)sql";

}  // namespace velto::schema
