#include "ui/ShortcutText.h"

#include "settings/Localization.h"

namespace vistrel::app {

namespace {

constexpr char16_t command = u'⌘', option = u'⌥', shift = u'⇧', control = u'⌃';

bool isModifier(QChar c) {
    return c == command || c == option || c == shift || c == control;
}

QString keyName(QChar modifier) {
    if (modifier == command) return "Ctrl";
    if (modifier == option) return "Alt";
    if (modifier == control) return "Meta";
    return QString::fromStdString(L("Maj", "Shift"));
}

}  // namespace

QString shortcutText(const std::string& text) {
    const QString in = QString::fromStdString(text);
    QString out;
    out.reserve(in.size() + 16);
    for (qsizetype i = 0; i < in.size();) {
        if (!isModifier(in[i])) {
            out += in[i++];
            continue;
        }
        bool held[4] = {};  // command, option, shift, control
        const qsizetype start = i;
        for (; i < in.size() && isModifier(in[i]); ++i)
            held[in[i] == command ? 0 : in[i] == option ? 1 : in[i] == shift ? 2 : 3] = true;
        const bool namesKey = i < in.size() && !in[i].isSpace() && in[i] != '-' && in[i] != ')';
        if (!namesKey) {
            for (qsizetype j = start; j < i; ++j) out += (j > start ? "+" : "") + keyName(in[j]);
            continue;
        }
        // Qt's order: Ctrl, Alt, Shift, Meta.
        if (held[0]) out += "Ctrl+";
        if (held[1]) out += "Alt+";
        if (held[2]) out += QString::fromStdString(L("Maj", "Shift")) + "+";
        if (held[3]) out += "Meta+";
        out += in[i++].toUpper();
    }
    return out;
}

}  // namespace vistrel::app
