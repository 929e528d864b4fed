// Remembers the windows' geometry in "window-state.json" in the data folder (not in the
// settings, which other programs read and write): one base64 Qt geometry per window name, and
// small numbers a window keeps beside it (the report's last tab) under "<name>.<field>".
// Windows are tracked from remember() on; their geometry is written when they are hidden.
// Thread: GUI thread.
#pragma once

#include <QObject>
#include <filesystem>
#include <optional>

class QWidget;

namespace velto::gui {

class WindowState : public QObject {
  Q_OBJECT
 public:
  // `folder` none: nothing is remembered (memory-only store).
  explicit WindowState(std::optional<std::filesystem::path> folder);

  // Restores `window`'s geometry saved under `name`, and saves it whenever the window hides.
  // False when nothing was saved under that name yet.
  bool remember(QWidget* window, const QString& name);

  // The number saved under "<name>.<field>"; none when nothing (or no number) was saved.
  std::optional<int> number(const QString& name, const QString& field) const;
  void setNumber(const QString& name, const QString& field, int value);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void save(QWidget* window);

  std::optional<std::filesystem::path> file_;
};

}  // namespace velto::gui
