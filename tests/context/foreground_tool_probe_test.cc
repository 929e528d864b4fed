#include "context/foreground_tool_probe.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

#include "context/proc_process_table.h"
#include "test_support/temp_dir.h"

namespace velto {
namespace {

// A process table given as rows of (pid, parent, short name, executable path or "").
class FakeProcessTable : public ProcessTable {
 public:
  struct Row {
    int pid;
    int parent;
    std::string shortName;
    std::string exe;
  };
  explicit FakeProcessTable(std::vector<Row> rows) : rows_(std::move(rows)) {}

  std::vector<ProcessInfo> processes() const override {
    std::vector<ProcessInfo> out;
    for (const Row& row : rows_) out.push_back({row.pid, row.parent, row.shortName});
    return out;
  }
  std::optional<std::string> executablePath(int pid) const override {
    ++pathReads;
    for (const Row& row : rows_) {
      if (row.pid == pid && !row.exe.empty()) return row.exe;
    }
    return std::nullopt;
  }

  mutable int pathReads = 0;

 private:
  std::vector<Row> rows_;
};

constexpr int kTerminal = 100;

TEST(ForegroundToolProbeTest, WalksThroughShellsAndWrappers) {
  using Rows = std::vector<FakeProcessTable::Row>;
  struct Case {
    const char* what;
    Rows rows;
    std::optional<std::string> expected;
  };
  const Case cases[] = {
      {"login, zsh, sudo",
       {{101, kTerminal, "login", "/usr/bin/login"},
        {102, 101, "-zsh", ""},
        {103, 102, "sudo", "/usr/bin/sudo"},
        {104, 103, "apt", "/usr/bin/apt"}},
       "apt"},
      {"two tools side by side",
       {{101, kTerminal, "bash", "/bin/bash"},
        {102, 101, "vim", "/usr/bin/vim"},
        {103, kTerminal, "bash", "/bin/bash"},
        {104, 103, "htop", "/usr/bin/htop"}},
       std::nullopt},
      {"same tool twice folds",
       {{101, kTerminal, "bash", "/bin/bash"},
        {102, 101, "node", "/usr/bin/node"},
        {103, 101, "node", "/usr/bin/node"}},
       "node"},
      {"idle shell only", {{101, kTerminal, "bash", "/usr/bin/bash"}}, std::nullopt},
      {"no children", {{5, 1, "init", "/sbin/init"}}, std::nullopt},
      {"version directory",
       {{101, kTerminal, "zsh", "/bin/zsh"},
        {102, 101, "1.0.35", "/home/j/.local/share/claude/versions/1.0.35"}},
       "claude"},
      {"node under its version",
       {{101, kTerminal, "bash", "/bin/bash"},
        {102, 101, "node", "/home/j/.nvm/versions/node/v20.1.0/bin/node"}},
       "node"},
      {"unreadable path uses the short name",
       {{101, kTerminal, "bash", ""}, {102, 101, "cargo", ""}},
       "cargo"},
      {"wrappers compared lower-cased",
       {{101, kTerminal, "BASH", ""}, {102, 101, "Env", ""}, {103, 102, "make", ""}},
       "make"},
      {"tmux server",
       {{101, kTerminal, "tmux: server", ""}, {102, 101, "bash", ""}, {103, 102, "less", ""}},
       "less"},
      {"a nameless process is looked through",
       {{101, kTerminal, "-", ""}, {102, 101, "ssh", "/usr/bin/ssh"}},
       "ssh"},
      {"depth 5 is visited",
       {{101, kTerminal, "sh", ""},
        {102, 101, "sh", ""},
        {103, 102, "sh", ""},
        {104, 103, "sh", ""},
        {105, 104, "sh", ""},
        {106, 105, "deep", ""}},
       "deep"},
      {"depth 6 is not",
       {{101, kTerminal, "sh", ""},
        {102, 101, "sh", ""},
        {103, 102, "sh", ""},
        {104, 103, "sh", ""},
        {105, 104, "sh", ""},
        {106, 105, "sh", ""},
        {107, 106, "deeper", ""}},
       std::nullopt},
      {"a self-parented entry does not loop", {{kTerminal, kTerminal, "sh", ""}}, std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    FakeProcessTable table(c.rows);
    EXPECT_EQ(ForegroundToolProbe(table).tool(kTerminal), c.expected);
  }
}

TEST(ForegroundToolProbeTest, StopsReadingOnceAmbiguous) {
  std::vector<FakeProcessTable::Row> rows;
  for (int i = 0; i < 50; ++i) rows.push_back({200 + i, kTerminal, "t" + std::to_string(i), ""});
  FakeProcessTable table(rows);
  EXPECT_EQ(ForegroundToolProbe(table).tool(kTerminal), std::nullopt);
  EXPECT_LE(table.pathReads, 2);
}

TEST(ProgramNameFromPathTest, SkipsPackagingAndVersions) {
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"/usr/bin/vim", "vim"},
      {"/home/j/.local/share/claude/versions/1.0.35", "claude"},
      {"/opt/node/v20.1.0/bin/node", "node"},
      {"/Applications/Foo.app/Contents/MacOS/Foo", "Foo"},
      {"/x/node_modules/.bin/eslint", "eslint"},
      {"/x/target/release/velto", "velto"},
      {"/tools/go/1.22_rc-1/Current/bin", "go"},
      {"/a/bin/latest/1.2/V3", "V3"},  // all of the last four skipped; "a" is not looked at
      {"/bin/1.0/2.0/latest", "latest"},
      {"//usr//bin//", "usr"},
      {"python3.12", "python3.12"},
      {"/opt/v1a", "v1a"},
      {"", std::nullopt},
      {"///", std::nullopt},
  };
  for (const auto& [path, expected] : cases) {
    EXPECT_EQ(programNameFromPath(path), expected) << path;
  }
}

TEST(ProcProcessTableTest, ParsesStatLines) {
  EXPECT_EQ(parseProcStat("1234 (bash) S 1200 1234 1234 34816"), (ProcessInfo{1234, 1200, "bash"}));
  EXPECT_EQ(parseProcStat("77 (tmux: server) S 1 77 77 0 -1"),
            (ProcessInfo{77, 1, "tmux: server"}));
  EXPECT_EQ(parseProcStat("9 (a) b) (c) R 8 9"), (ProcessInfo{9, 8, "a) b) (c"}));
  for (const char* bad : {"", "12", "12 (x", "x (bash) S 1", "12 (bash) S", "12 (bash) S z"}) {
    EXPECT_EQ(parseProcStat(bad), std::nullopt) << bad;
  }
}

TEST(ProcProcessTableTest, ReadsAFolderLaidOutLikeProc) {
  for (bool childLists : {false, true}) {
    SCOPED_TRACE(childLists ? "with children files" : "without children files");
    testing::TempDir root;
    auto process = [&](const std::string& pid, const std::string& stat, const std::string& exe,
                       std::map<std::string, std::string> tasks) {
      std::filesystem::create_directories(root / pid);
      std::ofstream(root / pid / "stat") << stat;
      if (!exe.empty()) std::filesystem::create_symlink(exe, root / pid / "exe");
      for (const auto& [tid, children] : tasks) {
        std::filesystem::create_directories(root / pid / "task" / tid);
        if (childLists) std::ofstream(root / pid / "task" / tid / "children") << children;
      }
    };
    // The terminal's second thread forked the shell.
    process("100", "100 (kitty) S 1 100", "/usr/bin/kitty", {{"100", ""}, {"104", "101 "}});
    process("101", "101 (zsh) S 100 101", "/usr/bin/zsh (deleted)", {{"101", "102 "}});
    process("102", "102 (claude) S 101 102", "/home/j/.local/share/claude/versions/1.0.35",
            {{"102", ""}});
    process("103", "garbage", "", {});
    std::filesystem::create_directories(root / "self");
    std::ofstream(root / "uptime") << "1 2";

    ProcProcessTable table(root.path());
    std::vector<ProcessInfo> listed = table.processes();
    std::sort(listed.begin(), listed.end(),
              [](const ProcessInfo& a, const ProcessInfo& b) { return a.processId < b.processId; });
    EXPECT_EQ(listed, (std::vector<ProcessInfo>{
                          {100, 1, "kitty"}, {101, 100, "zsh"}, {102, 101, "claude"}}));
    EXPECT_EQ(table.executablePath(101), "/usr/bin/zsh");
    EXPECT_EQ(table.executablePath(103), std::nullopt);
    if (childLists) {
      EXPECT_EQ(table.childrenOf(100), (std::vector<ProcessInfo>{{101, 100, "zsh"}}));
      EXPECT_EQ(table.childrenOf(999), std::vector<ProcessInfo>{});  // gone: no children
    } else {
      EXPECT_EQ(table.childrenOf(100), std::nullopt);
    }
    EXPECT_EQ(ForegroundToolProbe(table).tool(100), "claude");
  }
  EXPECT_EQ(ProcProcessTable("/nonexistent/proc").processes(), std::vector<ProcessInfo>{});
}

TEST(ProcProcessTableTest, SeesThisProcessInTheRealTable) {
  ProcProcessTable table;
  const std::vector<ProcessInfo> all = table.processes();
  auto self = std::find_if(all.begin(), all.end(),
                           [](const ProcessInfo& p) { return p.processId == getpid(); });
  ASSERT_NE(self, all.end());
  EXPECT_EQ(self->parentProcessId, getppid());
  const std::optional<std::string> exe = table.executablePath(getpid());
  ASSERT_TRUE(exe.has_value());
  EXPECT_EQ(programNameFromPath(*exe), "velto_tests");
  // Kernels built without children files answer none, and the probe lists every process.
  if (std::optional<std::vector<ProcessInfo>> siblings = table.childrenOf(getppid())) {
    EXPECT_TRUE(std::any_of(siblings->begin(), siblings->end(),
                            [](const ProcessInfo& p) { return p.processId == getpid(); }));
  }
}

}  // namespace
}  // namespace velto
