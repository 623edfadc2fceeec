// Words and numbers in the popovers, in the interface language.
#pragma once

#include <QLocale>
#include <QString>

#include "settings/Localization.h"

namespace vistrel::app {

inline QString localText(const char* fr, const char* en) {
    return QString::fromStdString(L(fr, en));
}

// Numbers as the interface writes them: a decimal comma in French, no group separator.
inline QLocale interfaceLocale() {
    QLocale locale(Localization::isEnglish() ? QLocale::English : QLocale::French);
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    return locale;
}

inline QString localNumber(double value, int decimals) {
    return interfaceLocale().toString(value, 'f', decimals);
}

}  // namespace vistrel::app
