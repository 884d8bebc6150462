#include <ZpWidgetsLite/VantroTextEdit.h>

#include "VantroBorderStyleSheet.h"

VantroTextEdit::VantroTextEdit(QWidget* parent)
    : QTextEdit(parent)
{
}

int VantroTextEdit::borderStyle() const
{
    return mBorderStyle;
}

void VantroTextEdit::setBorderStyle(int style)
{
    mBorderStyle = VantroBorderStyleSheet::normalized(style);
    setStyleSheet(VantroBorderStyleSheet::forStyle(mBorderStyle, true));
}
