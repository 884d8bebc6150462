#pragma once

#include <ZpQtCoreLite/ZpQtCoreLiteExport.h>

#include <QLocale>
#include <QString>

// Locale names in the one form the product sends and compares.
//
// Thread safety: all members may be called from any thread.
class ZPQTCORELITE_EXPORT ZpQtLocale
{
public:
    ZpQtLocale() = delete;

    // A BCP 47 tag "language-TERRITORY", always with the territory ("en-US",
    // "de-DE", "pt-BR", "es-419"), with the script between the two only when it is
    // not the usual one for that language in that territory ("sr-Latn-RS", but
    // "sr-RS", "zh-CN", "zh-TW"). The language is the two-letter ISO 639-1 code
    // where one exists, otherwise three letters. The C locale, and any locale
    // without a language, give "en-US"; a locale without a territory gets the
    // language's usual one.
    static QString standardizeName(const QLocale& locale);
};
