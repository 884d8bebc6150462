#pragma once

// Typing into a widget as a keyboard does, for tests that drive dialogs with
// real key presses. Header-only: the test programs that use it link QtTest.

#include <QString>
#include <QTest>
#include <QWidget>

// '\n' is the Return key; a non-ASCII character arrives as a key press that
// carries its text, as on a national keyboard layout (QTest::keyClicks speaks
// ASCII only).
inline void typeText(QWidget* target, const QString& text)
{
    for (const char32_t codePoint : text.toUcs4()) {
        if (codePoint == U'\n')
            QTest::keyClick(target, Qt::Key_Return);
        else if (codePoint < 0x80)
            QTest::keyClick(target, static_cast<char>(codePoint));
        else
            QTest::sendKeyEvent(QTest::Click, target, Qt::Key_unknown, QString::fromUcs4(&codePoint, 1),
                                Qt::NoModifier);
    }
}
