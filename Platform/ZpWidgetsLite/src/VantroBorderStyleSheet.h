#pragma once

#include <QString>

// Internal to ZpWidgetsLite: how the Vantro edits draw their border styles.
struct VantroBorderStyleSheet {
    // `style` if it names a known style, otherwise kVantroBorderStyleDefault.
    static int normalized(int style);
    // The style sheet that draws `style` on a QLineEdit or, with multiLine, a
    // QTextEdit; empty for the platform's own frame.
    static QString forStyle(int style, bool multiLine);
};
