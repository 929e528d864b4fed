// The trends tab: movers of categories, applications and details against the earlier period,
// or the steady / no-baseline sentence when nothing moved, and for custom ranges the sentence
// naming the range compared with.
// Thread: main thread.
#pragma once

#include <QWidget>
#include <string>
#include <string_view>

#include "reports/usage_report.h"

class QLabel;
class QTreeWidget;

namespace velto::gui {

// "+25m (+12%)", "−6m (−5%)", "+10m" (no earlier time: no percentage).
std::string moverChangeText(const Mover& mover, std::string_view language);

class TrendsPanel : public QWidget {
  Q_OBJECT
 public:
  explicit TrendsPanel(std::string language, QWidget* parent = nullptr);
  void setFigures(const UsageFigures& figures);
  QString statusText() const;
  // Rows listed, over the three lists.
  int moverCount() const;

 private:
  std::string language_;
  QLabel* comparison_;
  QLabel* status_;
  QTreeWidget* list_;
};

}  // namespace velto::gui
