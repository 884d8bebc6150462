#include <ZpQtCoreLite/ZpQtLocale.h>

QString ZpQtLocale::standardizeName(const QLocale& locale)
{
    QLocale::Language language = locale.language();
    QLocale::Territory territory = locale.territory();
    QLocale::Script script = locale.script();
    if (language == QLocale::C || language == QLocale::AnyLanguage) {
        language = QLocale::English;
        territory = QLocale::UnitedStates;
        script = QLocale::LatinScript;
    }
    // QLocale fills in the usual territory and script of a language or a
    // language/territory pair (its likely-subtags data).
    const QLocale usual(language, territory);
    if (territory == QLocale::AnyTerritory)
        territory = usual.territory();

    QString name = QLocale::languageToCode(language);
    if (script != QLocale::AnyScript && script != usual.script())
        name += QLatin1Char('-') + QLocale::scriptToCode(script);
    name += QLatin1Char('-') + QLocale::territoryToCode(territory);
    return name;
}
