// The title over a group of rows in a popover: small, dim capitals.
#pragma once

#include <QLabel>

namespace vistrel::app {

class SectionHeader : public QLabel {
    Q_OBJECT

  public:
    SectionHeader(const QString& title, QWidget* parent);
};

}  // namespace vistrel::app
