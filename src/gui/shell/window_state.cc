#include "gui/shell/window_state.h"

#include <QEvent>
#include <QWidget>
#include <nlohmann/json.hpp>

#include "base/files.h"
#include "base/log.h"

namespace velto::gui {

namespace {

nlohmann::json readState(const std::filesystem::path& file) {
  Result<std::string> bytes = files::readAll(file);
  if (!bytes) return nlohmann::json::object();
  nlohmann::json state = nlohmann::json::parse(*bytes, nullptr, false);
  return state.is_object() ? state : nlohmann::json::object();
}

void writeState(const std::filesystem::path& file, const nlohmann::json& state) {
  if (Status written = files::writeAtomically(file, state.dump(2)); !written) {
    log::error("Could not remember window geometry: %{public}s", written.error());
  }
}

std::string fieldKey(const QString& name, const QString& field) {
  return (name + QLatin1Char('.') + field).toStdString();
}

}  // namespace

WindowState::WindowState(std::optional<std::filesystem::path> folder) {
  if (folder) file_ = *folder / "window-state.json";
}

bool WindowState::remember(QWidget* window, const QString& name) {
  window->setProperty("veltoWindowName", name);
  window->installEventFilter(this);
  if (!file_) return false;
  const nlohmann::json state = readState(*file_);
  const auto found = state.find(name.toStdString());
  if (found == state.end() || !found->is_string()) return false;
  return window->restoreGeometry(
      QByteArray::fromBase64(QByteArray::fromStdString(found->get<std::string>())));
}

std::optional<int> WindowState::number(const QString& name, const QString& field) const {
  if (!file_) return std::nullopt;
  const nlohmann::json state = readState(*file_);
  const auto found = state.find(fieldKey(name, field));
  if (found == state.end() || !found->is_number_integer()) return std::nullopt;
  return found->get<int>();
}

void WindowState::setNumber(const QString& name, const QString& field, int value) {
  if (!file_) return;
  nlohmann::json state = readState(*file_);
  state[fieldKey(name, field)] = value;
  writeState(*file_, state);
}

bool WindowState::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Hide || event->type() == QEvent::Close) {
    if (auto* window = qobject_cast<QWidget*>(watched)) save(window);
  }
  return QObject::eventFilter(watched, event);
}

void WindowState::save(QWidget* window) {
  if (!file_) return;
  nlohmann::json state = readState(*file_);
  state[window->property("veltoWindowName").toString().toStdString()] =
      window->saveGeometry().toBase64().toStdString();
  writeState(*file_, state);
}

}  // namespace velto::gui
