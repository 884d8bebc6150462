#include "VantroBorderStyleSheet.h"

#include <ZpWidgetsLite/VantroBorderStyle.h>

int VantroBorderStyleSheet::normalized(int style)
{
    return style == kVantroBorderStyleThin || style == kVantroBorderStyleNone ? style : kVantroBorderStyleDefault;
}

QString VantroBorderStyleSheet::forStyle(int style, bool multiLine)
{
    const QString widget = multiLine ? QStringLiteral("QTextEdit") : QStringLiteral("QLineEdit");
    switch (normalized(style)) {
    case kVantroBorderStyleThin:
        return widget + QStringLiteral(" { border: 1px solid palette(mid); border-radius: 3px; padding: 2px 4px; }");
    case kVantroBorderStyleNone:
        return widget + QStringLiteral(" { border: none; }");
    default:
        return QString();
    }
}
