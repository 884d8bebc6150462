// ZpToolboxUtils in a process that never makes an application object
// (GoogleTest's own main()).
#include "ZpToolboxUtils.h"

#include <QCoreApplication>
#include <QFuture>
#include <QList>
#include <QNetworkAccessManager>
#include <QtConcurrent>
#include <gtest/gtest.h>

TEST(ZpToolboxUtilsWithoutApplication, TheManagerIsMadeWithoutAParent)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    QNetworkAccessManager* manager = ZpToolboxUtils::sharedNetworkAccessManager();
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(manager->parent(), nullptr);
    EXPECT_EQ(ZpToolboxUtils::sharedNetworkAccessManager(), manager);
}

TEST(ZpToolboxUtilsWithoutApplication, ConcurrentFirstCallsShareOneManager)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    QList<QFuture<QNetworkAccessManager*>> calls;
    for (int i = 0; i < 8; ++i)
        calls << QtConcurrent::run(&ZpToolboxUtils::sharedNetworkAccessManager);
    QNetworkAccessManager* manager = ZpToolboxUtils::sharedNetworkAccessManager();
    ASSERT_NE(manager, nullptr);
    for (const auto& call : calls)
        EXPECT_EQ(call.result(), manager);
    EXPECT_EQ(manager->parent(), nullptr);
}
