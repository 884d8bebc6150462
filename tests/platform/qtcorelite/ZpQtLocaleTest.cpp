#include <ZpQtCoreLite/ZpQtLocale.h>

#include <gtest/gtest.h>

TEST(ZpQtLocale, LanguageAndTerritory)
{
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("en_US"))), QStringLiteral("en-US"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("en_GB"))), QStringLiteral("en-GB"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("de_DE"))), QStringLiteral("de-DE"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("de_AT"))), QStringLiteral("de-AT"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("cs_CZ"))), QStringLiteral("cs-CZ"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("pt_BR"))), QStringLiteral("pt-BR"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("es_419"))), QStringLiteral("es-419"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("ja_JP"))), QStringLiteral("ja-JP"));
}

TEST(ZpQtLocale, TerritoryIsAlwaysThere)
{
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QLocale::French)), QStringLiteral("fr-FR"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("de"))), QStringLiteral("de-DE"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QLocale::English)), QStringLiteral("en-US"));
}

TEST(ZpQtLocale, ScriptOnlyWhenUnusual)
{
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("zh_CN"))), QStringLiteral("zh-CN"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("zh_TW"))), QStringLiteral("zh-TW"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("sr_RS"))), QStringLiteral("sr-RS"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("sr_Latn_RS"))), QStringLiteral("sr-Latn-RS"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("uz_Cyrl_UZ"))), QStringLiteral("uz-Cyrl-UZ"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("uz_UZ"))), QStringLiteral("uz-UZ"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("zh_Hans_HK"))), QStringLiteral("zh-Hans-HK"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("zh_HK"))), QStringLiteral("zh-HK"));
}

TEST(ZpQtLocale, ThreeLetterLanguages)
{
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QLocale::Filipino, QLocale::Philippines)), QStringLiteral("fil-PH"));
}

TEST(ZpQtLocale, CLocaleIsAmericanEnglish)
{
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale::c()), QStringLiteral("en-US"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("C"))), QStringLiteral("en-US"));
    EXPECT_EQ(ZpQtLocale::standardizeName(QLocale(QStringLiteral("POSIX"))), QStringLiteral("en-US"));
}
