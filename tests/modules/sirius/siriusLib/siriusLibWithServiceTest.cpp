// The bridge with the client library as built (libsxmlib.so), the module's real hooks and
// sxm-service on a free loopback port: what a fake library cannot show, the library's own stream
// thread calling back while the library thread waits for it.

#include "siriusLib/siriusLib.h"

#include "QtTestSupport.h"

#include "sxmservice/Server.h"

#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoSiriusAccount.h>
#include <mivosdk/MivoValue.h>

#include <QThread>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <iostream>

namespace {

/// Far beyond what a play and a stop take on a loaded machine; reaching it means a deadlock.
constexpr int kHangMs = 30000;
constexpr int kFirstAudioMs = 10000;

void storeText(CMMemoryRoot& root, const CMPath& path, const std::string& text)
{
    MivoValue value;
    value.setString(QString::fromStdString(text));
    root.setValue(path, value);
}

/// Waits for `reply`; a reply that never comes is a deadlock that no later test can survive, so
/// the program ends at once with a failure instead of hanging the suite.
template <class T>
T resultOrExit(const CMReply<T>& reply, const char* what)
{
    if (!reply.waitForFinished(kHangMs)) {
        std::cerr << "FAILED: " << what << " did not finish within " << kHangMs
                  << " ms: the library thread is deadlocked" << std::endl;
        std::_Exit(EXIT_FAILURE);
    }
    return reply.result();
}

class SiriusLibWithService : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        m_server = new sxm::service::Server();
        m_server->start();
        CMSetRoot(&m_root);
        storeText(m_root, MivoSiriusSettingsConfigUrlPath(), m_server->configUrl());
        storeText(m_root, MivoSiriusSettingsKeyPath(), m_server->options().fixedKeyHex);
        storeText(m_root, MivoSiriusSettingsDeviceMakePath(), "Acme");
        storeText(m_root, MivoSiriusSettingsDeviceModelPath(), "Tuner 9");
        storeText(m_root, MivoNetworkStateCurrentMAC(), "00:11:22:33:44:55");
        m_lib = SiriusLib::create(true);
    }

    void SetUp() override
    {
        ASSERT_TRUE(resultOrExit(m_lib->initialize(MivoSiriusAudioBitrate::Kbps64), "initialize"));
        ASSERT_TRUE(resultOrExit(m_lib->login("demo", "demo"), "sign-in"));
        ASSERT_TRUE(resultOrExit(m_lib->listChannels(), "line-up"));
    }

    static MivoSiriusPlayable liveChannel()
    {
        MivoSiriusPlayable playable;
        playable.setChannelId(QString::fromStdString(m_server->catalog().channels().at(0).id))
            .setMode(MivoSiriusContentMode::Live)
            .setPlayLive(true);
        return playable;
    }

    static sxm::service::Server* m_server; // lives for the process, as the library thread does
    static CMMemoryRoot m_root;
    static SiriusLib* m_lib;
};

sxm::service::Server* SiriusLibWithService::m_server = nullptr;
CMMemoryRoot SiriusLibWithService::m_root;
SiriusLib* SiriusLibWithService::m_lib = nullptr;

} // namespace

// Operations called on the library thread run inside the caller's queued function. A stop there
// makes the library join its stream thread, which reports busy, bitrate and track data as its
// first acts and audio afterwards; nothing the bridge holds may keep those callbacks waiting.
TEST_F(SiriusLibWithService, PlayAndStopInOneQueuedFunctionFinishWhileTheStreamThreadCallsBack)
{
    SiriusLib* lib = m_lib;
    std::atomic<int> blocks{0};
    lib->setDataWriteCallback([&blocks](const QByteArray& data, unsigned int, unsigned int*) {
        ++blocks;
        return data.size();
    });
    QObject receiver;
    int busyReports = 0;
    lib->subscribe(&SiriusLib::onChannelBusy, &receiver, [&busyReports](bool) { ++busyReports; });

    const MivoSiriusPlayable playable = liveChannel();
    CMReply<int> stops;
    lib->async([lib, playable, stops, &blocks] {
        int stopped = 0;
        // A stop right after the start meets the stream thread's first callbacks.
        for (int round = 0; round < 3; ++round) {
            if (lib->play(playable).isSucceeded() && lib->stop().isSucceeded())
                ++stopped;
        }
        // A stop while audio flows meets the audio and track callbacks.
        if (lib->play(playable).isSucceeded()) {
            for (int waited = 0; blocks == 0 && waited < kFirstAudioMs; waited += 5)
                QThread::msleep(5);
            if (blocks > 0 && lib->stop().isSucceeded())
                ++stopped;
        }
        stops.setResult(stopped);
    });
    EXPECT_EQ(resultOrExit(stops, "play and stop on the library thread"), 4);
    EXPECT_GT(blocks.load(), 0);
    EXPECT_TRUE(testsupport::waitUntil([&] { return busyReports > 0; }))
        << "the stream thread's callbacks reach a receiver on another thread";
    lib->setDataWriteCallback(nullptr);
}
