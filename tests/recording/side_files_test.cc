#include <gtest/gtest.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "base/files.h"
#include "base/iso8601.h"
#include "recorder_fixture.h"
#include "recording/tracking_command.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"

namespace velto {
namespace {

using testing::app;
using testing::at;

TEST(CheckpointFormatTest, FieldNamesAndDatesSince2001) {
  ActivityContext context = app("code", "main.cc — velto");
  context.toolName = "velto";
  const SegmentCheckpoint checkpoint{context, at("2001-01-01T00:01:00Z"),
                                     at("2026-11-21T09:41:00.5Z")};
  const nlohmann::json json = nlohmann::json::parse(encodeCheckpoint(checkpoint));
  EXPECT_EQ(json["startedAt"], 60.0);
  EXPECT_DOUBLE_EQ(json["lastSeen"].get<double>(), 816946860.5);
  EXPECT_EQ(json["context"]["windowTitle"], "main.cc — velto");
  EXPECT_FALSE(json["context"].contains("host"));
  EXPECT_EQ(*decodeCheckpoint(encodeCheckpoint(checkpoint)), checkpoint);
}

TEST(CheckpointFormatTest, DecodesWhatOtherWritersProduce) {
  // Integer dates and a context without a title.
  const auto decoded = decodeCheckpoint(
      R"({"context":{"bundleId":"kitty","appName":"kitty"},"startedAt":785000000,"lastSeen":785000060.25})");
  ASSERT_TRUE(decoded) << decoded.error();
  EXPECT_EQ(decoded->context.windowTitle, std::nullopt);
  EXPECT_DOUBLE_EQ(secondsBetween(decoded->startedAt, decoded->lastSeen), 60.25);

  const char* bad[] = {
      "",
      "null",
      "42",
      "{}",
      R"({"context":{"bundleId":"a","appName":"A"},"startedAt":1})",
      R"({"context":{"bundleId":"a","appName":"A"},"startedAt":"1","lastSeen":2})",
      R"({"context":{"bundleId":"a"},"startedAt":1,"lastSeen":2})",
      R"({"context":"a","startedAt":1,"lastSeen":2})",
      R"({"context":{"bundleId":"a","appName":"A"},"startedAt":1e300,"lastSeen":2})",
      R"({"context":{"bundleId":"a","appName":"A"},"startedAt":-1e300,"lastSeen":2})",
  };
  for (const char* bytes : bad) EXPECT_FALSE(decodeCheckpoint(bytes)) << bytes;
}

TEST(CheckpointFileTest, WriteIsPrivateAndFailureIsLogged) {
  testing::TempDir dir;
  FileSegmentCheckpoints checkpoints(dir / "data");
  EXPECT_FALSE(checkpoints.hasFile());
  checkpoints.clear();  // nothing believed to exist: no file-system access, no error
  checkpoints.write({app("a"), at("2026-11-21T09:00:00Z"), at("2026-11-21T09:01:00Z")});
  ASSERT_TRUE(checkpoints.hasFile());
  struct stat info {};
  ASSERT_EQ(::stat(checkpoints.url().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  ASSERT_EQ(::stat((dir / "data").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u);

  // The folder becomes unwritable (a file stands where it should be): logged, state kept.
  testing::TempDir other;
  ASSERT_TRUE(files::writeAtomically(other / "blocked", "x"));
  FileSegmentCheckpoints blocked(other / "blocked");
  testing::LogCapture logs;
  blocked.write({app("a"), at("2026-11-21T09:00:00Z"), at("2026-11-21T09:01:00Z")});
  EXPECT_FALSE(blocked.hasFile());
  ASSERT_EQ(logs.lines.size(), 1u);
  EXPECT_TRUE(logs.lines[0].starts_with("Checkpoint write failed: ")) << logs.lines[0];
}

TEST(Iso8601Test, ParsesInternetDateTimes) {
  const std::pair<const char*, const char*> good[] = {
      {"2026-11-14T21:40:00Z", "2026-11-14T21:40:00Z"},
      {"2026-11-14t21:40:00z", "2026-11-14T21:40:00Z"},
      {"2026-11-14T22:40:00+01:00", "2026-11-14T21:40:00Z"},
      {"2026-11-14T16:10:00-0530", "2026-11-14T21:40:00Z"},
      {"2026-11-14T21:40:00.750Z", "2026-11-14T21:40:00.75Z"},
      {"2024-02-29T00:00:00Z", "2024-02-29T00:00:00Z"},
  };
  for (const auto& [text, expected] : good) EXPECT_EQ(parseIso8601(text), at(expected)) << text;
  const char* bad[] = {"",
                       "2026-11-14",
                       "2026-11-14T21:40:00",
                       "2026-11-14 21:40:00Z",
                       "2026-13-01T00:00:00Z",
                       "2025-02-29T00:00:00Z",
                       "2026-11-14T24:00:00Z",
                       "2026-11-14T21:40:00+25:00",
                       "2026-11-14T21:40:00.Z",
                       "2026-11-14T21:40:00Zjunk",
                       "+2026-11-14T21:40:00Z"};
  for (const char* text : bad) EXPECT_EQ(parseIso8601(text), std::nullopt) << text;
  EXPECT_EQ(formatIso8601(at("2026-11-14T21:40:00.9Z")), "2026-11-14T21:40:00Z");
}

class TrackingCommandTest : public ::testing::Test {
 protected:
  testing::TempDir dir;
  TrackingCommand command{dir / "shared"};
};

TEST_F(TrackingCommandTest, WritesTheFixedFormatAndReadsItOnce) {
  ASSERT_TRUE(command.write(true, at("2026-11-14T21:40:00Z")));
  const auto bytes = files::readAll(dir / "shared" / "tracking-command.json");
  ASSERT_TRUE(bytes);
  EXPECT_EQ(nlohmann::json::parse(*bytes),
            nlohmann::json::parse(R"({"paused":true,"requestedAt":"2026-11-14T21:40:00Z"})"));
  EXPECT_EQ(command.readAndConsume(), (TrackingCommandRequest{true, at("2026-11-14T21:40:00Z")}));
  EXPECT_EQ(command.readAndConsume(), std::nullopt);
}

TEST_F(TrackingCommandTest, ATimedPauseCarriesItsEnd) {
  ASSERT_TRUE(command.write(true, at("2026-11-14T21:40:00Z"), at("2026-11-14T22:10:00Z")));
  const auto bytes = files::readAll(dir / "shared" / "tracking-command.json");
  EXPECT_EQ(nlohmann::json::parse(*bytes)["until"], "2026-11-14T22:10:00Z");
  EXPECT_EQ(command.readAndConsume(),
            (TrackingCommandRequest{true, at("2026-11-14T21:40:00Z"), at("2026-11-14T22:10:00Z")}));
  // "until" belongs to pauses only; a resume ignores it, a malformed one is no command.
  EXPECT_EQ(
      decodeTrackingCommand(R"({"paused":false,"requestedAt":"2026-11-14T21:40:00Z","until":"x"})")
          ->until,
      std::nullopt);
  EXPECT_FALSE(decodeTrackingCommand(
      R"({"paused":true,"requestedAt":"2026-11-14T21:40:00Z","until":"tomorrow"})"));
}

TEST_F(TrackingCommandTest, TheLastWriterWins) {
  ASSERT_TRUE(command.write(true, at("2026-11-14T21:40:00Z")));
  ASSERT_TRUE(command.write(false, at("2026-11-14T21:40:00.6Z")));
  const auto read = command.readAndConsume();
  ASSERT_TRUE(read);
  EXPECT_FALSE(read->paused);
}

TEST_F(TrackingCommandTest, AnUndecodableCommandIsConsumedAndIgnored) {
  for (const char* bytes : {"{", R"({"paused":"yes","requestedAt":"2026-11-14T21:40:00Z"})",
                            R"({"paused":true})", R"({"paused":true,"requestedAt":816000000})"}) {
    SCOPED_TRACE(bytes);
    ASSERT_TRUE(files::writeAtomically(dir / "shared" / "tracking-command.json", bytes));
    EXPECT_EQ(command.readAndConsume(), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(dir / "shared" / "tracking-command.json"));
  }
}

TEST_F(TrackingCommandTest, NoSharedFolderMeansNoCommands) {
  TrackingCommand none(std::nullopt);
  EXPECT_FALSE(none.write(true, at("2026-11-14T21:40:00Z")));
  EXPECT_EQ(none.readAndConsume(), std::nullopt);
  // A folder that was never made reads as no command.
  EXPECT_EQ(command.readAndConsume(), std::nullopt);
}

TEST(TrackingCommandFreshnessTest, SixtySecondWindowAndFutureStamps) {
  const Instant now = at("2026-11-14T21:40:00Z");
  const std::pair<double, bool> table[] = {
      {0, true},   {59.9, true},  {60, false}, {120, false},  // writer's clock 2 min behind
      {-30, true}, {-3600, true},                             // stamped in the future
  };
  for (const auto& [age, fresh] : table) {
    EXPECT_EQ((TrackingCommandRequest{true, addSeconds(now, -age)}.isFreshAt(now)), fresh) << age;
  }
}

}  // namespace
}  // namespace velto
