#include <ZpIngest/IngestSignalWatcher.h>

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <csignal>

namespace {

void (*currentHandler(int signalNumber))(int)
{
    struct sigaction action = {};
    ::sigaction(signalNumber, nullptr, &action);
    return action.sa_handler;
}

} // namespace

TEST(ZpIngestSignalWatcher, TurnsSigtermAndSigintIntoTheQtSignal)
{
    IngestSignalWatcher watcher;
    ASSERT_TRUE(watcher.isActive());
    QSignalSpy requested(&watcher, &IngestSignalWatcher::terminationRequested);
    // With the watcher in place these must not end the test process.
    ASSERT_EQ(::raise(SIGTERM), 0);
    ASSERT_TRUE(requested.wait(20000));
    EXPECT_EQ(requested.at(0).at(0).toInt(), SIGTERM);
    ASSERT_EQ(::raise(SIGINT), 0);
    while (requested.count() < 2 && requested.wait(20000)) {
    }
    ASSERT_EQ(requested.count(), 2);
    EXPECT_EQ(requested.at(1).at(0).toInt(), SIGINT);
}

TEST(ZpIngestSignalWatcher, DestructionRestoresThePreviousHandlers)
{
    const auto termBefore = currentHandler(SIGTERM);
    const auto intBefore = currentHandler(SIGINT);
    {
        IngestSignalWatcher watcher;
        ASSERT_TRUE(watcher.isActive());
        EXPECT_NE(currentHandler(SIGTERM), termBefore);
        EXPECT_NE(currentHandler(SIGINT), intBefore);
    }
    EXPECT_EQ(currentHandler(SIGTERM), termBefore);
    EXPECT_EQ(currentHandler(SIGINT), intBefore);
    // And a second watcher may be made afterwards.
    IngestSignalWatcher again;
    EXPECT_TRUE(again.isActive());
}
