#pragma once

#include <QTextEdit>
#include <ZpWidgetsLite/VantroBorderStyle.h>
#include <ZpWidgetsLite/ZpWidgetsLiteExport.h>

// A multi-line edit in the vendor's look: a QTextEdit with a selectable border
// style (see VantroBorderStyle). GUI thread only, like every widget.
class ZPWIDGETSLITE_EXPORT VantroTextEdit : public QTextEdit {
    Q_OBJECT
    Q_PROPERTY(int borderStyle READ borderStyle WRITE setBorderStyle)

public:
    explicit VantroTextEdit(QWidget* parent = nullptr);

    int borderStyle() const;
    // Unknown values fall back to kVantroBorderStyleDefault.
    void setBorderStyle(int style);

private:
    int mBorderStyle = kVantroBorderStyleDefault;
};
