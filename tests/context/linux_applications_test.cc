// Real Linux applications, named as their packages and windows name them, must come out with
// the right id, category and family. The table is tests/data/linux_applications.json.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/files.h"
#include "categories/category_resolver.h"
#include "categories/category_seed.h"
#include "context/app_catalog.h"
#include "context/app_family.h"
#include "context/app_identity.h"

namespace velto {
namespace {

const std::filesystem::path kTable =
    std::filesystem::path(VELTO_SOURCE_DIR) / "tests" / "data" / "linux_applications.json";
const std::filesystem::path kShippedSeed =
    std::filesystem::path(VELTO_SOURCE_DIR) / "resources" / "categories.json";

struct Row {
  std::string what;
  std::string desktop;  // empty: the application ships no desktop file
  std::string startupWmClass;
  WindowNames window;
  std::string id;
  std::string category;
  std::string family;
  std::string familyById;
};

std::vector<Row> loadRows() {
  auto text = files::readAll(kTable);
  EXPECT_TRUE(text.ok()) << text.error();
  if (!text.ok()) return {};
  const auto json = nlohmann::json::parse(*text);
  auto field = [](const nlohmann::json& row, const char* key) {
    return row.contains(key) ? row.at(key).get<std::string>() : std::string();
  };
  std::vector<Row> rows;
  for (const auto& item : json.at("rows")) {
    Row row;
    row.what = field(item, "what");
    row.desktop = field(item, "desktop");
    row.startupWmClass = field(item, "startupWMClass");
    row.window = {field(item, "instance"), field(item, "class"), field(item, "appId"),
                  field(item, "exe")};
    row.id = field(item, "id");
    row.category = field(item, "category");
    row.family = field(item, "family");
    row.familyById = item.contains("familyById") ? field(item, "familyById") : row.family;
    rows.push_back(std::move(row));
  }
  return rows;
}

// Other applications installed beside the one of a row; none of them belongs to its window.
std::vector<DesktopEntry> entriesFor(const Row& row) {
  std::vector<DesktopEntry> entries = {
      {"htop", "Htop", ""},
      {"display-im6.q16", "ImageMagick (color depth=q16)", ""},
      {"org.freedesktop.IBus.Setup", "IBus Preferences", ""},
  };
  if (!row.desktop.empty()) entries.push_back({row.desktop, row.what, row.startupWmClass});
  entries.push_back({"vim", "Vim", ""});
  entries.push_back({"python3.11", "Python (v3.11)", ""});
  return entries;
}

std::string familyRaw(std::optional<AppFamily> family) {
  return family ? std::string(rawValue(*family)) : std::string("none");
}

TEST(LinuxApplicationsTest, EveryApplicationGetsItsIdCategoryAndFamily) {
  const std::vector<Row> rows = loadRows();
  ASSERT_GE(rows.size(), 60u);
  const CategoryResolver resolver(
      {}, {}, std::make_shared<const CategorySeed>(CategorySeed::load(kShippedSeed)));
  std::set<std::string> names;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_TRUE(names.insert(row.what).second) << "two rows are called " << row.what;
    const std::vector<DesktopEntry> entries = entriesFor(row);
    const RunningApplication app = identifyApplication(entries, row.window, 4242);
    ASSERT_TRUE(app.bundleId.has_value()) << row.what;
    const std::string& id = *app.bundleId;
    EXPECT_EQ(id, row.id) << row.what << ": id";
    // Stored rows carry the id alone.
    EXPECT_EQ(resolver.category(id), row.category) << row.what << ": category of " << id;
    EXPECT_EQ(familyRaw(AppCatalog::family(id, app.aliases)), row.family)
        << row.what << ": family of " << id << " with its window's names";
    EXPECT_EQ(familyRaw(AppCatalog::family(id)), row.familyById)
        << row.what << ": family of " << id << " alone";
  }
}

}  // namespace
}  // namespace velto
