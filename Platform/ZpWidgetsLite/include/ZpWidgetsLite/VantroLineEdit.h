#pragma once

#include <QLineEdit>
#include <ZpWidgetsLite/VantroBorderStyle.h>
#include <ZpWidgetsLite/ZpWidgetsLiteExport.h>

// A single-line edit in the vendor's look: a QLineEdit with a selectable border
// style (see VantroBorderStyle). GUI thread only, like every widget.
class ZPWIDGETSLITE_EXPORT VantroLineEdit : public QLineEdit {
    Q_OBJECT
    Q_PROPERTY(int borderStyle READ borderStyle WRITE setBorderStyle)

public:
    explicit VantroLineEdit(QWidget* parent = nullptr);

    int borderStyle() const;
    // Unknown values fall back to kVantroBorderStyleDefault.
    void setBorderStyle(int style);

private:
    int mBorderStyle = kVantroBorderStyleDefault;
};
