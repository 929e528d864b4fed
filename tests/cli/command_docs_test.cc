#include "cli/command_docs.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "test_support/temp_dir.h"

namespace velto::cli {
namespace {

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// True when `shell` is installed and reads `script` without a syntax error.
std::optional<bool> parses(const std::string& shell, const std::string& flag,
                           const std::string& script, const testing::TempDir& dir) {
  if (std::system(("command -v " + shell + " >/dev/null 2>&1").c_str()) != 0) return std::nullopt;
  const std::filesystem::path file = dir / ("script." + shell);
  std::ofstream(file) << script;
  return std::system((shell + " " + flag + " " + file.string() + " 2>&1").c_str()) == 0;
}

TEST(CommandDocs, EveryCommandAndWordReachesEachShellAndTheManual) {
  const std::vector<Command>& all = commands();
  ASSERT_GE(all.size(), 16u);
  const std::string bash = bashCompletion(all);
  const std::string zsh = zshCompletion(all, "en");
  const std::string fish = fishCompletion(all, "en");
  const std::string manual = manPage(all, "en", "1.2.3");
  for (const Command& command : all) {
    SCOPED_TRACE(command.name);
    EXPECT_TRUE(has(bash, " " + command.name));
    EXPECT_TRUE(has(zsh, "'" + command.name + ":"));
    EXPECT_TRUE(has(fish, "-a " + command.name + " -d "));
    EXPECT_TRUE(has(manual, ".SS " + command.name + "\n"));
    for (const std::string& word : command.words) {
      EXPECT_TRUE(has(bash, word)) << word;
      EXPECT_TRUE(has(zsh, word)) << word;
      EXPECT_TRUE(has(fish, word.starts_with("--") ? "-l " + word.substr(2) : word)) << word;
    }
  }
  EXPECT_TRUE(has(bash, "limits) words=\"list add set enable disable remove --kind"));
  EXPECT_TRUE(has(manual, ".TH VELTO 1 \"\" \"velto 1.2.3\""));
}

TEST(CommandDocs, AwkwardDescriptionsStayQuotedForEveryShell) {
  // A key missing from the catalogs reads as itself (up to its first blank): a summary with
  // quotes, a colon, a backslash and a leading dot.
  const std::vector<Command> odd = {
      Command{"odd", ".it's:\"odd\"\\$(true)", "cli.unknown.help", nullptr, {"--flag", "x"}}};
  testing::TempDir dir;
  for (const auto& [shell, flag, script] :
       std::vector<std::tuple<std::string, std::string, std::string>>{
           {"bash", "-n", bashCompletion(odd)},
           {"zsh", "-n", zshCompletion(odd, "en")},
           {"fish", "--no-execute", fishCompletion(odd, "en")}}) {
    const std::optional<bool> ok = parses(shell, flag, script, dir);
    if (ok) {
      EXPECT_TRUE(*ok) << shell << ":\n" << script;
    }
  }
  EXPECT_TRUE(has(zshCompletion(odd, "en"), "'odd:.it'\\''s\\:\"odd\"\\$(true)'"));
  const std::string manual = manPage(odd, "en", "1");
  EXPECT_TRUE(has(manual, "\n\\&.it's:\"odd\"\\e$(true)\n")) << manual;
}

}  // namespace
}  // namespace velto::cli
