#include <ZpWidgetsLite/VantroLineEdit.h>

#include "VantroBorderStyleSheet.h"

VantroLineEdit::VantroLineEdit(QWidget* parent)
    : QLineEdit(parent)
{
}

int VantroLineEdit::borderStyle() const
{
    return mBorderStyle;
}

void VantroLineEdit::setBorderStyle(int style)
{
    mBorderStyle = VantroBorderStyleSheet::normalized(style);
    setStyleSheet(VantroBorderStyleSheet::forStyle(mBorderStyle, false));
}
